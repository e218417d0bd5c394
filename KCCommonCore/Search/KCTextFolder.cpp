#include "KCTextFolder.h"

#include "KCSearchFolding.h"
#include "Utilities/KCLogger.h"

#include <unicode/casemap.h>
#include <unicode/edits.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

#include <limits>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace {

constexpr std::u16string_view kWidthTransformID = u"Fullwidth-Halfwidth";
constexpr std::u16string_view kStripDiacriticsTransformID = u"NFD; [:Nonspacing Mark:] Remove; NFC";

// A transliterator instance is not thread-safe, so each thread folds with
// its own clones of two shared prototypes built once.
struct Transforms {
    std::unique_ptr<icu::Transliterator> width;
    std::unique_ptr<icu::Transliterator> stripDiacritics;
    // Folds of single-unit clusters, for the per-cluster fold that keeps sources.
    std::unordered_map<uint32_t, std::u16string> clusterCache;
};

std::unique_ptr<icu::Transliterator> makeTransform(std::u16string_view id)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString name(false, id.data(), static_cast<int32_t>(id.size()));
    std::unique_ptr<icu::Transliterator> transform(icu::Transliterator::createInstance(name, UTRANS_FORWARD, status));
    if (U_FAILURE(status) || !transform) {
        KCLog("Cannot create the text transform %@: %s", id, u_errorName(status));
        return nullptr;
    }
    return transform;
}

std::mutex& prototypeLock()
{
    static std::mutex lock;
    return lock;
}

const Transforms& prototypes()
{
    static const Transforms shared {makeTransform(kWidthTransformID), makeTransform(kStripDiacriticsTransformID), {}};
    return shared;
}

std::unique_ptr<icu::Transliterator> cloneOf(const std::unique_ptr<icu::Transliterator>& prototype)
{
    if (!prototype)
        return nullptr;
    std::lock_guard guard(prototypeLock());
    return std::unique_ptr<icu::Transliterator>(prototype->clone());
}

Transforms& threadTransforms()
{
    thread_local Transforms transforms {cloneOf(prototypes().width), cloneOf(prototypes().stripDiacritics), {}};
    return transforms;
}

bool isFastUnit(char16_t unit)
{
    return unit < 0x80 || foldQuoteMark(unit) != unit;
}

bool isWordSeparator(char16_t unit)
{
    return unit == u' ' || unit == u'\n';
}

char16_t foldFastUnit(char16_t unit, KCFoldOptions options)
{
    if ((options.flags & KCCaseInsensitiveCompare) && unit >= u'A' && unit <= u'Z')
        return unit + (u'a' - u'A');
    return options.foldQuotes ? foldQuoteMark(unit) : unit;
}

icu::UnicodeString lowercased(std::u16string_view text, bool foldCase, icu::Edits* edits)
{
    icu::UnicodeString result;
    int32_t length = static_cast<int32_t>(text.size());
    // Lower-casing rarely grows text; one retry covers the cases that do.
    for (int32_t capacity = length + 16;;) {
        UErrorCode status = U_ZERO_ERROR;
        if (edits)
            edits->reset();
        char16_t* buffer = result.getBuffer(capacity);
        int32_t written = foldCase ? icu::CaseMap::fold(U_FOLD_CASE_DEFAULT, text.data(), length, buffer, capacity, edits, status)
                                   : icu::CaseMap::toLower("", 0, text.data(), length, buffer, capacity, edits, status);
        result.releaseBuffer(U_SUCCESS(status) ? written : 0);
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            capacity = written;
            continue;
        }
        if (U_FAILURE(status)) {
            KCLog("Cannot lower-case text: %s", u_errorName(status));
            result.setTo(false, text.data(), length);
        }
        return result;
    }
}

// The transforms that follow lower-casing, in place.
void applyTransforms(icu::UnicodeString& text, uint64_t flags)
{
    Transforms& transforms = threadTransforms();
    if ((flags & KCWidthInsensitiveCompare) && transforms.width)
        transforms.width->transliterate(text);
    if ((flags & KCDiacriticInsensitiveCompare) && transforms.stripDiacritics)
        transforms.stripDiacritics->transliterate(text);
}

void appendFolded(const icu::UnicodeString& folded, KCFoldOptions options, std::u16string& out)
{
    const char16_t* units = folded.getBuffer();
    size_t start = out.size();
    out.append(units, static_cast<size_t>(folded.length()));
    if (options.foldQuotes) {
        for (size_t i = start; i < out.size(); ++i)
            out[i] = foldQuoteMark(out[i]);
    }
}

void foldWithICU(std::u16string_view text, KCFoldOptions options, std::u16string& out)
{
    icu::UnicodeString folded = (options.flags & KCCaseInsensitiveCompare)
        ? lowercased(text, options.foldCase, nullptr)
        : icu::UnicodeString(text.data(), static_cast<int32_t>(text.size()));
    applyTransforms(folded, options.flags);
    appendFolded(folded, options, out);
}

// Does the code point continue the cluster before it? Composition and the
// strip of marks never reach across such a boundary, so folding clusters
// one by one gives the fold of the whole run.
bool continuesCluster(UChar32 c)
{
    switch (u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_EXTEND:
    case U_GCB_ZWJ:
    case U_GCB_SPACING_MARK:
    case U_GCB_V:
    case U_GCB_T:
        return true;
    default:
        return u_getCombiningClass(c) != 0;
    }
}

const std::u16string& foldedSingleUnit(char16_t unit, uint64_t flags)
{
    uint32_t key = unit | static_cast<uint32_t>(flags & (KCWidthInsensitiveCompare | KCDiacriticInsensitiveCompare)) << 16;
    auto& cache = threadTransforms().clusterCache;
    auto found = cache.find(key);
    if (found != cache.end())
        return found->second;
    icu::UnicodeString folded(unit);
    applyTransforms(folded, flags);
    return cache.emplace(key, std::u16string(folded.getBuffer(), static_cast<size_t>(folded.length()))).first->second;
}

// The ICU fold of a run, cluster by cluster, recording where each folded
// unit came from. `offset` is the run's index in the whole text.
void foldWithICUKeepingSources(std::u16string_view text, uint32_t offset, KCFoldOptions options, std::u16string& out, std::vector<KCFoldSource>& sources)
{
    icu::Edits edits;
    bool lowered = options.flags & KCCaseInsensitiveCompare;
    icu::UnicodeString lower = lowered ? lowercased(text, options.foldCase, &edits) : icu::UnicodeString(false, text.data(), static_cast<int32_t>(text.size()));
    icu::Edits::Iterator toSource = edits.getFineIterator();
    auto sourceIndex = [&](int32_t index) {
        if (!lowered)
            return index;
        UErrorCode status = U_ZERO_ERROR;
        int32_t source = toSource.sourceIndexFromDestinationIndex(index, status);
        return U_SUCCESS(status) ? source : 0;
    };

    const char16_t* units = lower.getBuffer();
    int32_t length = lower.length();
    int32_t clusterStart = 0;
    uint32_t lastEnd = 0;
    while (clusterStart < length) {
        int32_t clusterEnd = clusterStart;
        UChar32 c;
        U16_NEXT(units, clusterEnd, length, c);
        for (int32_t next = clusterEnd; next < length; clusterEnd = next) {
            U16_NEXT(units, next, length, c);
            if (!continuesCluster(c))
                break;
        }
        uint32_t start = std::max(lastEnd, static_cast<uint32_t>(sourceIndex(clusterStart)));
        uint32_t end = clusterEnd == length ? static_cast<uint32_t>(text.size()) : static_cast<uint32_t>(sourceIndex(clusterEnd));
        end = std::max(start, end);
        lastEnd = end;

        size_t before = out.size();
        if (clusterEnd - clusterStart == 1) {
            out += foldedSingleUnit(units[clusterStart], options.flags);
        } else {
            icu::UnicodeString cluster(units + clusterStart, clusterEnd - clusterStart);
            applyTransforms(cluster, options.flags);
            out.append(cluster.getBuffer(), static_cast<size_t>(cluster.length()));
        }
        for (size_t i = before; i < out.size(); ++i) {
            if (options.foldQuotes)
                out[i] = foldQuoteMark(out[i]);
            sources.push_back({offset + start, offset + end});
        }
        clusterStart = clusterEnd;
    }
}

} // namespace

std::u16string KCFoldTextWithICU(std::u16string_view text, KCFoldOptions options)
{
    std::u16string out;
    foldWithICU(text, options, out);
    return out;
}

void KCFoldText(std::u16string_view text, KCFoldOptions options, std::u16string& out, std::vector<KCFoldSource>* sources)
{
    if (sources && text.size() >= std::numeric_limits<uint32_t>::max()) {
        KCLog("Text of %llu units is too long to fold with sources", static_cast<unsigned long long>(text.size()));
        return;
    }
    out.reserve(out.size() + text.size());
    if (sources)
        sources->reserve(sources->size() + text.size());

    // Words of plain ASCII and quote marks fold without ICU; runs of other
    // words go through ICU in one piece. A run starts only after a space or
    // a line feed, which no lower-casing context, composition or mark
    // crosses, so the result is the ICU fold of the whole text.
    auto flushRun = [&](size_t runStart, size_t runEnd) {
        std::u16string_view run = text.substr(runStart, runEnd - runStart);
        if (sources)
            foldWithICUKeepingSources(run, static_cast<uint32_t>(runStart), options, out, *sources);
        else
            foldWithICU(run, options, out);
    };
    constexpr size_t noRun = std::u16string_view::npos;
    size_t runStart = noRun;
    size_t position = 0;
    while (position < text.size()) {
        size_t wordStart = position;
        bool fast = true;
        while (position < text.size()) {
            char16_t unit = text[position++];
            if (isWordSeparator(unit))
                break;
            fast = fast && isFastUnit(unit);
        }
        if (!fast) {
            if (runStart == noRun)
                runStart = wordStart;
            continue;
        }
        if (runStart != noRun) {
            flushRun(runStart, wordStart);
            runStart = noRun;
        }
        for (size_t i = wordStart; i < position; ++i) {
            out.push_back(foldFastUnit(text[i], options));
            if (sources)
                sources->push_back({static_cast<uint32_t>(i), static_cast<uint32_t>(i + 1)});
        }
    }
    if (runStart != noRun)
        flushRun(runStart, text.size());
}
