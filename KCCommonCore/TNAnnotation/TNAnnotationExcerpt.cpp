// The excerpts that shares quote: an annotation's selected text inside its
// sentence (annotationRepresentativeText), as plain text with ellipses and as
// styled text no longer than a limit before the selection's end.
#include "TNAnnotation.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCStringAdditions.h"

#include <unicode/utf16.h>

#include <algorithm>

namespace {

std::u16string ellipsis()
{
    return KCCommonCoreBundle().localizedString(u"\\U2026");
}

KCRange rangeOf(std::u16string_view text, std::u16string_view needle)
{
    size_t at = needle.empty() ? std::u16string_view::npos : text.find(needle);
    return at == std::u16string_view::npos ? KCRange {} : KCRange {at, needle.size()};
}

bool isInside(KCRange range, std::u16string_view text)
{
    return range.found() && range.location <= text.size() && range.length <= text.size() - range.location;
}

// What follows a piece that ends inside its sentence: the sentence's last
// mark when only that one non-blank character is left out, else the ellipsis.
std::u16string suffixAfter(std::u16string_view rest)
{
    std::u16string_view lastCharacter;
    int nonBlank = 0;
    for (size_t i = 0; i < rest.size() && nonBlank < 2;) {
        size_t start = i;
        UChar32 c;
        U16_NEXT(rest.data(), i, rest.size(), c);
        if (!KCIsWhitespaceOrNewline(static_cast<char32_t>(c))) {
            ++nonBlank;
            lastCharacter = rest.substr(start, i - start);
        }
    }
    if (nonBlank == 1) {
        UChar32 c;
        U16_GET(lastCharacter.data(), 0, 0, lastCharacter.size(), c);
        if (KCIsPunctuation(static_cast<char32_t>(c)))
            return std::u16string(lastCharacter);
    }
    return ellipsis();
}

// The shortened sentence from `cut` on, trimmed, and the raw selected text's place in it.
TNAnnotation::Text sentenceFrom(const TNAnnotation& annotation, std::u16string_view sentence, uint64_t cut, KCRange& highlightedRange)
{
    std::u16string text(KCTrimWhitespaceAndNewlines(sentence.substr(cut)));
    highlightedRange = rangeOf(text, annotation.annotationSelectedText().value_or(u""));
    return text;
}

} // namespace

TNAnnotation::Text TNAnnotation::contextAwareSelectedTextFromAnnotation(const TNAnnotation& annotation)
{
    std::u16string representative = annotation.annotationRepresentativeText().value_or(u"");
    KCRange selection = annotation.annotationSelectedTextRange();
    // A stored range that does not lie within the sentence counts as none.
    if (representative.empty() || !isInside(selection, representative)) {
        Text selected = annotation.annotationSelectedText();
        if (representative.empty() || !selected || *selected == representative || tn_occurrenceCountOfString(representative, *selected) != 1)
            return selected;
        selection = rangeOf(representative, *selected);
    }

    std::u16string_view sentence = representative;
    std::u16string_view selectedPart = sentence.substr(selection.location, selection.length);
    std::u16string result(selectedPart);
    const auto sentences = KCSentenceRanges(sentence);
    for (KCRange piece : KCSentenceRanges(selectedPart)) {
        piece.location += selection.location;
        auto around = std::find_if(sentences.begin(), sentences.end(), [&](KCRange q) { return piece.location >= q.location && piece.location < q.end(); });
        if (around == sentences.end())
            continue;
        uint64_t firstNonBlank = around->location, lastNonBlankEnd = around->end();
        while (firstNonBlank < around->end() && KCIsWhitespaceOrNewline(sentence[firstNonBlank]))
            ++firstNonBlank;
        while (lastNonBlankEnd > around->location && KCIsWhitespaceOrNewline(sentence[lastNonBlankEnd - 1]))
            --lastNonBlankEnd;
        if (piece.location > around->location && piece.location > firstNonBlank)
            result = ellipsis() + result;
        if (piece.end() < around->end() && piece.end() < lastNonBlankEnd)
            result += suffixAfter(sentence.substr(piece.end(), around->end() - piece.end()));
    }
    return result;
}

std::optional<KCStyledString> TNAnnotation::annotatedAttributedStringForAnnotation(const TNAnnotation& annotation, uint64_t possibleLength)
{
    Text representative = annotation.annotationRepresentativeText();
    std::u16string sentence = flattenedAnnotationString(representative.value_or(u""));
    std::u16string selection = flattenedAnnotationString(annotation.annotationSelectedText().value_or(u""));
    Text text = selection;
    KCRange highlighted {0, selection.size()};
    if (selection.size() < possibleLength && !isSelectedTextRepeatedInRepresentativeTextForAnnotation(annotation)) {
        highlighted = rangeOf(sentence, selection);
        if (highlighted.found() && highlighted.end() <= possibleLength) {
            text = sentence;
        } else if (highlighted.found()) {
            Text shortened;
            for (auto shorten : {&clauseForSelectedTextForAnnotation, &wordsForSelectedTextForAnnotation, &lettersForSelectedTextForAnnotation}) {
                if ((shortened = shorten(annotation, sentence, possibleLength, highlighted)))
                    break;
            }
            if (shortened && highlighted.found()) {
                std::u16string mark = ellipsis();
                text = mark + *shortened;
                highlighted.location += mark.size();
            } else {
                highlighted = {0, selection.size()};
            }
        }
    }
    if (text->empty()) {
        text = representative;
        highlighted = {0, representative ? representative->size() : 0};
    }
    if (!text)
        return std::nullopt;
    std::replace(text->begin(), text->end(), u'\r', u'\n');
    return annotatedAttributedStringWithString(*text, annotation.annotationStyle(), highlighted);
}

std::optional<KCStyledString> TNAnnotation::annotatedAttributedString() const
{
    return annotatedAttributedStringForAnnotation(*this, UINT64_MAX);
}

KCStyledString TNAnnotation::annotatedAttributedStringWithString(std::u16string_view text, int32_t annotationStyle, KCRange range)
{
    KCStyledString styled {std::u16string(text)};
    styled.setAnnotationStyle(annotationStyle, range);
    return styled;
}

bool TNAnnotation::isSelectedTextRepeatedInRepresentativeTextForAnnotation(const TNAnnotation& annotation)
{
    Text representative = annotation.annotationRepresentativeText();
    Text selected = annotation.annotationSelectedText();
    return !representative || !selected || tn_occurrenceCountOfString(*representative, *selected) > 1;
}

TNAnnotation::Text TNAnnotation::clauseForSelectedTextForAnnotation(const TNAnnotation& annotation, std::u16string_view sentence, uint64_t possibleLength, KCRange& highlightedRange)
{
    if (!isInside(highlightedRange, sentence))
        return std::nullopt;
    uint64_t end = highlightedRange.end();
    for (size_t i = 0; i < end;) {
        UChar32 c;
        U16_NEXT(sentence.data(), i, sentence.size(), c);
        if (KCIsPunctuation(static_cast<char32_t>(c)) && i <= end && end - i <= possibleLength)
            return sentenceFrom(annotation, sentence, i, highlightedRange);
    }
    return std::nullopt;
}

TNAnnotation::Text TNAnnotation::wordsForSelectedTextForAnnotation(const TNAnnotation& annotation, std::u16string_view sentence, uint64_t possibleLength, KCRange& highlightedRange)
{
    if (!isInside(highlightedRange, sentence))
        return std::nullopt;
    uint64_t end = highlightedRange.end();
    for (KCRange word : KCWordRanges(sentence.substr(0, end))) {
        if (end - word.location <= possibleLength)
            return sentenceFrom(annotation, sentence, word.location, highlightedRange);
    }
    return std::nullopt;
}

TNAnnotation::Text TNAnnotation::lettersForSelectedTextForAnnotation(const TNAnnotation& annotation, std::u16string_view sentence, uint64_t possibleLength, KCRange& highlightedRange)
{
    if (!isInside(highlightedRange, sentence) || highlightedRange.end() <= possibleLength)
        return std::nullopt;
    uint64_t cut = highlightedRange.end() - possibleLength;
    // Never between the two halves of a character outside the basic plane.
    if (cut < sentence.size() && U16_IS_TRAIL(sentence[cut]) && U16_IS_LEAD(sentence[cut - 1]))
        ++cut;
    return sentenceFrom(annotation, sentence, cut, highlightedRange);
}
