#include "PMReaderHighlights.h"

#include "Utilities/KCLogger.h"
#include "Utilities/KCStringAdditions.h"
#include "Utilities/KCStringConversion.h"
#include "book/PMBookNavigation.h"
#include "host/PMReaderWebView.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace {

std::vector<std::string> stepsOf(const std::string& path)
{
    std::vector<std::string> steps;
    for (size_t at = path.find('/'); at != std::string::npos;) {
        size_t next = path.find('/', at + 1);
        steps.push_back(path.substr(at, next == std::string::npos ? std::string::npos : next - at));
        at = next;
    }
    return steps;
}

std::string cssColor(const TNThemeColor& color)
{
    if (!color)
        return "transparent";
    auto byte = [](double component) { return std::to_string(std::lround(std::clamp(component, 0.0, 1.0) * 255)); };
    return "rgb(" + byte(color->red()) + " " + byte(color->green()) + " " + byte(color->blue()) + " / "
        + std::to_string(std::lround(std::clamp(color->alpha(), 0.0, 1.0) * 100)) + "%)";
}

bool isBlank(char16_t character)
{
    return character == u' ' || character == u'\n' || character == u'\t' || character == u'\r' || character == u'\u00A0';
}

} // namespace

std::string PMHighlightRange::cfi(std::string_view idref) const
{
    // The common steps go before the range; each end keeps at least its last step.
    auto from = stepsOf(start), to = stepsOf(end);
    size_t common = 0;
    while (common + 1 < from.size() && common + 1 < to.size() && from[common] == to[common])
        ++common;
    std::string parent, first, last;
    for (size_t i = 0; i < from.size(); ++i)
        (i < common ? parent : first) += from[i];
    for (size_t i = common; i < to.size(); ++i)
        last += to[i];
    std::string assertion = idref.empty() ? std::string() : "[" + std::string(idref) + "]";
    return "epubcfi(/6/" + std::to_string(2 * (spineIndex + 1)) + assertion + "!" + parent + "," + first + "," + last + ")";
}

std::optional<PMHighlightRange> PMHighlightRange::fromCFI(std::string_view cfi)
{
    size_t bang = cfi.find('!');
    if (bang == std::string_view::npos || !cfi.ends_with(')'))
        return std::nullopt;
    std::string_view path = cfi.substr(bang + 1, cfi.size() - bang - 2);
    size_t comma = path.find(',');
    size_t second = comma == std::string_view::npos ? comma : path.find(',', comma + 1);
    if (second == std::string_view::npos || path.find(',', second + 1) != std::string_view::npos)
        return std::nullopt;
    auto index = PMSpineIndexFromCFI(cfi);
    if (!index)
        return std::nullopt;
    std::string parent(path.substr(0, comma));
    return PMHighlightRange {*index, parent + std::string(path.substr(comma + 1, second - comma - 1)), parent + std::string(path.substr(second + 1))};
}

std::optional<PMFoundText> PMFoundText::fromJSON(std::string_view json)
{
    return fromJSONObject(nlohmann::json::parse(json, nullptr, false));
}

std::optional<PMFoundText> PMFoundText::fromJSONObject(nlohmann::json found)
{
    if (!found.is_object() || !found["start"].is_string() || !found["end"].is_string() || !found["text"].is_string()
        || !found["blockText"].is_string() || !found["offset"].is_number_unsigned() || !found["chapterOffset"].is_number_unsigned())
        return std::nullopt;
    return PMFoundText {found["start"], found["end"], KCUTF16FromUTF8(found["text"].get<std::string>()),
        KCUTF16FromUTF8(found["blockText"].get<std::string>()), found["offset"].get<size_t>(), found["chapterOffset"].get<size_t>(),
        found["page"].is_string() ? std::optional(found["page"].get<std::string>()) : std::nullopt};
}

PMSentence PMSentenceAround(std::u16string_view blockText, KCRange range)
{
    // Blanks first: a line break in the book's source ends no sentence.
    PMSentence block {{}, {KCNotFound, 0}};
    bool blank = false;
    uint64_t selectedEnd = 0;
    for (uint64_t at = 0; at < blockText.size(); ++at) {
        if (isBlank(blockText[at])) {
            blank = !block.text.empty();
            continue;
        }
        if (std::exchange(blank, false))
            block.text += u' ';
        if (at >= range.location && !block.selected.found())
            block.selected.location = block.text.size();
        block.text += blockText[at];
        if (at < range.end())
            selectedEnd = block.text.size();
    }
    if (!block.selected.found())
        return block;
    block.selected.length = selectedEnd > block.selected.location ? selectedEnd - block.selected.location : 0;
    // The sentences from the one the selection starts in to the one it ends in.
    uint64_t from = 0, to = block.text.size();
    for (const KCRange& sentence : KCSentenceRanges(block.text)) {
        if (sentence.location <= block.selected.location)
            from = sentence.location;
        if (sentence.location < std::max(block.selected.end(), block.selected.location + 1))
            to = sentence.end();
    }
    while (to > from && block.text[to - 1] == u' ')
        --to;
    return {block.text.substr(from, to - from), {block.selected.location - from, block.selected.length}};
}

TNThemeColor PMHighlightColor(int32_t style, bool underline, bool night)
{
    auto theme = TNAnnotationTheme::themeForAnnotationStyle(style, night, underline);
    if (!theme)
        return std::nullopt;
    return underline ? theme->underlineColor() : theme->highlightColor();
}

PMReaderHighlights::PMReaderHighlights(TNAnnotationStoreDataSource& store, std::shared_ptr<KCManagedObjectContext> context, std::u16string assetID)
    : m_store(store)
    , m_context(std::move(context))
    , m_assetID(std::move(assetID))
{
}

std::shared_ptr<TNAnnotation> PMReaderHighlights::add(const PMFoundText& found, const PMHighlightRange& range, const std::string& idref,
    const std::optional<std::string>& chapterTitle, const PMHighlightStyle& style, KCError* error)
{
    auto annotation = TNAnnotation::insertAnnotationWithAssetID(m_assetID, std::nullopt, std::nullopt, m_context.get());
    if (!annotation) {
        KCSetError(error, {PMReaderErrorDomain, 40, "could not make an annotation"});
        return nullptr;
    }
    PMSentence sentence = PMSentenceAround(found.blockText, {found.offset, found.text.size()});
    annotation->setAnnotationType(TNAnnotationTypeRange);
    annotation->setAnnotationStyle(style.style);
    annotation->setAnnotationIsUnderline(style.underline);
    annotation->setAnnotationLocation(KCUTF16FromUTF8(range.cfi(idref)));
    const int64_t place = (static_cast<int64_t>(range.spineIndex) << 32) + static_cast<int64_t>(found.chapterOffset);
    annotation->setPlLocationRangeStart(place);
    annotation->setPlLocationRangeEnd(place + static_cast<int64_t>(found.text.size()));
    annotation->setAnnotationSelectedText(found.text);
    annotation->setAnnotationRepresentativeText(sentence.text);
    if (sentence.selected.found())
        annotation->setAnnotationSelectedTextRange(sentence.selected);
    if (chapterTitle)
        annotation->setChapterTitle(KCUTF16FromUTF8(*chapterTitle));
    if (style.note)
        annotation->setAnnotationNote(KCUTF16FromUTF8(*style.note));
    if (found.page)
        annotation->setPhysicalPageNumber(KCUTF16FromUTF8(*found.page));
    return save(error) ? annotation : nullptr;
}

bool PMReaderHighlights::edit(std::u16string_view uuid, const PMHighlightEdit& edit, KCError* error)
{
    auto annotation = this->annotation(uuid);
    if (!annotation) {
        KCLog("No highlight %@ to change", KCUTF8FromUTF16(uuid));
        return KCSetError(error, {PMReaderErrorDomain, 41, "the highlight is gone"});
    }
    if (edit.style)
        annotation->setAnnotationStyle(*edit.style);
    if (edit.underline)
        annotation->setAnnotationIsUnderline(*edit.underline);
    if (edit.note)
        annotation->setAnnotationNote(edit.note->empty() ? TNAnnotation::TextArgument() : TNAnnotation::TextArgument(KCUTF16FromUTF8(*edit.note)));
    if (edit.remove)
        annotation->setAnnotationDeleted(true);
    return save(error);
}

std::optional<PMHighlightStyle> PMReaderHighlights::styleOf(std::u16string_view uuid) const
{
    auto annotation = this->annotation(uuid);
    if (!annotation)
        return std::nullopt;
    auto note = annotation->annotationNote();
    return PMHighlightStyle {annotation->annotationStyle(), annotation->annotationIsUnderline(),
        note ? std::optional(KCUTF8FromUTF16(*note)) : std::nullopt};
}

std::string PMReaderHighlights::drawList(size_t spineIndex, bool night) const
{
    nlohmann::json list = nlohmann::json::array();
    auto annotations = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForRangeAnnotationsWithAssetID(m_assetID), m_context.get());
    for (const auto& annotation : annotations.value_or(TNAnnotation::Annotations())) {
        auto location = annotation->annotationLocation();
        auto range = location ? PMHighlightRange::fromCFI(KCUTF8FromUTF16(*location)) : std::nullopt;
        const bool underline = annotation->annotationIsUnderline();
        auto color = PMHighlightColor(annotation->annotationStyle(), underline, night);
        if (!range || range->spineIndex != spineIndex || !color)
            continue;
        list.push_back({{"uuid", KCUTF8FromUTF16(annotation->annotationUuid().value_or(u""))}, {"start", range->start}, {"end", range->end},
            {"color", cssColor(color)},
            {"textColor", cssColor(TNAnnotationTheme::highlightTextColor(night))}, {"underline", underline}});
    }
    return list.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

TNAnnotation::Annotations PMReaderHighlights::newestFirst() const
{
    auto annotations = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForRangeAnnotationsWithAssetID(m_assetID), m_context.get())
                           .value_or(TNAnnotation::Annotations());
    // Newer dates first, then earlier places: the place's sign is turned.
    auto key = [](const TNAnnotation& annotation) {
        auto date = annotation.annotationCreationDate();
        if (!date)
            date = annotation.annotationModificationDate();
        return std::pair(date.value_or(KCDate {}), -annotation.plLocationRangeStart().value_or(0));
    };
    std::stable_sort(annotations.begin(), annotations.end(), [&](const auto& a, const auto& b) { return key(*a) > key(*b); });
    return annotations;
}

std::shared_ptr<TNAnnotation> PMReaderHighlights::annotation(std::u16string_view uuid) const
{
    auto found = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForAnnotationWithUUID(uuid, m_assetID), m_context.get());
    return found && !found->empty() ? found->front() : nullptr;
}

bool PMReaderHighlights::save(KCError* error)
{
    if (m_store.saveManagedObjectContext(*m_context))
        return true;
    KCLog("Could not keep the highlights in the annotation store");
    return KCSetError(error, {PMReaderErrorDomain, 42, "could not save the highlight in the annotation store"});
}
