// The HTML shares of one annotation and of a group, from arbitrary texts and
// settings: making them never crashes, the documents always come out, and
// no placeholder is left in them (the input alphabet has no '%', so every
// "<!-- %%" in a document would be the templates' own).
//
// Input: a flags byte (1: underline, 2: citations allowed, 4: for print,
// 8: a store URL, 16: type 3, 32: a second annotation), the style byte, the
// word limit byte, then the selected text, the representative text, the note,
// the chapter title and the page split at zero bytes. Text bytes below 0x80
// pick a unit from a small set of interesting ones; a byte from 0x80 up and
// the next one form a raw unit.
#include "Annotations/TNAnnotationGroupHTMLGenerator.h"

#include <cstdlib>
#include <string_view>
#include <vector>

#include "PMFuzzAnnotationStore.h"
#include "PMFuzzText.h"

namespace {

constexpr char16_t kUnits[] = {u'a', u'B', u' ', u'.', u'<', u'>', u'\n', u'&', u'!', u'-', 0x2026, 0xD83D, 0xDE00, 0x200B, 0x3002, u'"'};

std::vector<std::u16string> texts(std::string_view bytes, size_t count)
{
    std::vector<std::u16string> decoded;
    while (decoded.size() < count) {
        size_t split = bytes.find('\0');
        decoded.push_back(PMFuzzUTF16(bytes.substr(0, split), kUnits));
        bytes = split == std::string_view::npos ? std::string_view() : bytes.substr(split + 1);
    }
    return decoded;
}

void check(const std::optional<std::u16string>& document)
{
    if (!document || document->find(u"<!-- %%") != std::u16string::npos)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3)
        return 0;
    const uint8_t flags = data[0];
    auto fields = texts(std::string_view(reinterpret_cast<const char*>(data + 3), size - 3), 5);

    auto context = PMFuzzAnnotationContext();
    auto annotation = TNAnnotation::insertAnnotationWithAssetID(u"BOOK", std::nullopt, std::nullopt, context.get());
    if (!annotation)
        std::abort();
    annotation->setAnnotationType(flags & 16 ? 3 : 2);
    annotation->setAnnotationStyle(data[1]);
    annotation->setAnnotationIsUnderline(flags & 1);
    annotation->setAnnotationSelectedText(fields[0]);
    annotation->setAnnotationRepresentativeText(fields[1]);
    annotation->setAnnotationNote(fields[2]);
    annotation->setChapterTitle(fields[3]);
    annotation->setPhysicalPageNumber(fields[4]);
    annotation->setAnnotationCreationDate(KCDate::fromTimeIntervalSince1970(1772704800));
    TNAnnotation::Annotations annotations {annotation};
    if (flags & 32)
        annotations.push_back(annotation);

    TNAssetHTMLGeneratorDataSource dataSource;
    dataSource.storeURLForHTMLGenerator = [&](const TNAssetHTMLGenerator&) {
        return flags & 8 ? KCURL::URLWithString("https://store.example/book/id1") : std::nullopt;
    };
    dataSource.citationForStoreURL = [&](const TNAssetHTMLGenerator&, std::optional<std::u16string_view>) { return std::optional(fields[3]); };
    TNSingleAnnotationHTMLGenerator single;
    TNAnnotationGroupHTMLGenerator group;
    for (TNSingleAnnotationHTMLGenerator* generator : {&single, static_cast<TNSingleAnnotationHTMLGenerator*>(&group)}) {
        generator->setTitle(fields[3]);
        generator->setAuthor(fields[4]);
        generator->setDataSource(&dataSource);
        generator->setAnnotations(annotations);
        generator->setCitationsAllowed(flags & 2);
        generator->setForPrint(flags & 4);
        generator->setWordLimit(data[2]);
        generator->setDateOfSharing(KCDate::fromTimeIntervalSince1970(1772704800));
        check(generator->documentString());
    }
    group.htmlAnnotatedStringForAnnotation(*annotation);
    return 0;
}
