// Annotation excerpts from arbitrary texts, stored ranges and limits: making
// them never crashes, and the highlighted range always lies inside the excerpt.
//
// Input: a flags byte (1: store a selected range, 2: take the selection from
// the sentence, 4: no sentence, 8: no selection), the limit (two bytes, 0xFFFF:
// none), a start and a length byte, then the sentence and the selection split
// at the first zero byte. Text bytes below 0x80 pick a unit from a small set
// of interesting ones; a byte from 0x80 up and the next one form a raw unit.
#include "TNAnnotation/TNAnnotation.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "PMFuzzAnnotationStore.h"
#include "PMFuzzText.h"

namespace {

constexpr char16_t kUnits[] = {u'a', u'B', u' ', u'.', u',', u'!', u'\n', u'\r', u'\t', 0x2026, 0xD83D, 0xDE00, 0x200B, 0x0085, 0x3002, u'\''};

std::u16string decode(std::string_view bytes)
{
    return PMFuzzUTF16(bytes, kUnits);
}

void checkInside(const KCStyledString& styled)
{
    KCRange range = styled.annotationStyleRange();
    if (range.found() && (range.location > styled.length() || range.length > styled.length() - range.location))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 5)
        return 0;
    uint8_t flags = data[0];
    uint64_t limit = data[1] << 8 | data[2];
    KCRange range {data[3], data[4]};
    std::string_view rest(reinterpret_cast<const char*>(data + 5), size - 5);
    size_t split = rest.find('\0');
    std::u16string sentence = decode(rest.substr(0, split));
    std::u16string selection = split == std::string_view::npos ? std::u16string() : decode(rest.substr(split + 1));
    if (flags & 2)
        selection = sentence.substr(std::min<size_t>(range.location, sentence.size()), range.length);

    auto context = PMFuzzAnnotationContext();
    auto annotation = TNAnnotation::insertAnnotationWithAssetID(u"BOOK", std::nullopt, std::nullopt, context.get());
    if (!annotation)
        std::abort();
    annotation->setAnnotationRepresentativeText(flags & 4 ? std::nullopt : TNAnnotation::TextArgument(sentence));
    annotation->setAnnotationSelectedText(flags & 8 ? std::nullopt : TNAnnotation::TextArgument(selection));
    if (flags & 1)
        annotation->setAnnotationSelectedTextRange(range);

    TNAnnotation::contextAwareSelectedTextFromAnnotation(*annotation);
    if (auto excerpt = TNAnnotation::annotatedAttributedStringForAnnotation(*annotation, limit == 0xFFFF ? UINT64_MAX : limit))
        checkInside(*excerpt);
    // The shortenings on their own, with any range.
    for (auto shorten : {&TNAnnotation::clauseForSelectedTextForAnnotation, &TNAnnotation::wordsForSelectedTextForAnnotation, &TNAnnotation::lettersForSelectedTextForAnnotation}) {
        KCRange highlighted = range;
        if (auto text = shorten(*annotation, sentence, limit, highlighted); text && highlighted.found() && highlighted.end() > text->size())
            std::abort();
    }
    return 0;
}
