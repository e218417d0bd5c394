#include "PMReaderSearch.h"

#include "PMReaderPosition.h"
#include "Utilities/KCStringConversion.h"

namespace {

// The tasks read text, not pages: any size lays it out.
constexpr KCSize kSearchViewSize {600, 800};

} // namespace

PMReaderSearch::PMReaderSearch(const PMEngineSession& reader, const PMBookNavigation& navigation)
    : m_reader(reader)
    , m_navigation(navigation)
{
}

PMReaderSearch::~PMReaderSearch() = default;

bool PMReaderSearch::prepare(const PMIndexProgress& progress, KCError* error)
{
    if (m_library)
        return true;
    if (!m_engine) {
        auto engine = std::make_unique<PMEngineSession>();
        engine->book = std::make_unique<PMBook>(*m_reader.book);
        engine->documentPaths = m_reader.documentPaths;
        if (!engine->startEngine(kSearchViewSize, error))
            return false;
        m_engine = std::move(engine);
    }
    m_library = PMLibraryOfBook(*m_engine, PMDefaultLibraryPath(*m_engine), progress, error);
    return m_library != nullptr;
}

std::optional<std::vector<PMReaderSearchResult>> PMReaderSearch::find(const std::string& query, KCError* error)
{
    if (!prepare({}, error))
        return std::nullopt;
    auto found = PMSearchBook(*m_engine, m_library.get(), query, error);
    if (!found)
        return std::nullopt;
    return PMReaderSearchResults(found->contexts, m_reader.book->package(), m_navigation);
}

std::vector<PMReaderSearchResult> PMReaderSearchResults(const std::vector<PMSearchContext>& contexts, const PMPackage& package,
    const PMBookNavigation& navigation)
{
    std::vector<PMReaderSearchResult> results;
    for (const auto& context : contexts) {
        PMReaderSearchResult result;
        result.spineIndex = context.documentIndex;
        const std::string& idref = result.spineIndex < package.spine.size() ? package.spine[result.spineIndex].idref : std::string();
        result.chapterTitle = navigation.chapterTitleForLocation(PMReadingPosition {result.spineIndex, {}}.cfi(idref)).value_or(package.title);
        std::u16string sentence = KCUTF16FromUTF8(context.context);
        const size_t start = std::min<size_t>(context.rangeLocation, sentence.size());
        const size_t length = std::min<size_t>(context.rangeLength, sentence.size() - start);
        result.sentence = context.context;
        result.matchStart = KCUTF8FromUTF16(std::u16string_view(sentence).substr(0, start)).size();
        result.matchLength = KCUTF8FromUTF16(std::u16string_view(sentence).substr(start, length)).size();
        result.occurrence = !results.empty() && results.back().spineIndex == result.spineIndex ? results.back().occurrence + 1 : 0;
        results.push_back(std::move(result));
    }
    return results;
}

