// pagemoor export: one book's annotations as the group document that shares hand out.
#include "BookCommandSupport.h"
#include "StoreCommandSupport.h"

#include "Annotations/TNAnnotationGroupRTFGenerator.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCRTFWriter.h"

#include <algorithm>

namespace {

const char* const kUsage =
    "usage: pagemoor export BOOK.epub --store FILE --format rtf|text [--asset ID] [--no-citations]\n"
    "                       [--book-url URL] [-o FILE] [--cache-dir DIR]\n"
    "  The live highlights, notes and bookmarks of the book in the annotation store, in\n"
    "  reading order, as one document: per annotation its date, page, quoted excerpt and\n"
    "  note (in bold), then the book's citation.\n"
    "  --format       rtf: rich text; text: the same document as plain UTF-8 text\n"
    "  --asset        the book's ID in the store (default: the book's identifier)\n"
    "  --no-citations leave the excerpts out\n"
    "  --book-url     the book's store page, linked at the end\n"
    "  -o FILE        write to FILE instead of standard output\n";

// "“Title” by Creator", or the quoted title alone.
std::u16string citationForBook(const PMPackage& package)
{
    const KCBundle& bundle = KCCommonCoreBundle();
    std::string title = package.title.empty() ? KCUTF8FromUTF16(bundle.localizedString(u"Untitled")) : package.title;
    if (package.creator.empty())
        return KCUTF16FromUTF8(KCStringWithFormat(KCUTF8FromUTF16(bundle.localizedString(u"\\U201C%@\\U201D")), title));
    return KCUTF16FromUTF8(KCStringWithFormat(KCUTF8FromUTF16(bundle.localizedString(u"\\U201C%@\\U201D by %@")), title, package.creator));
}

// By place in the book, then by creation.
void sortInReadingOrder(TNAnnotation::Annotations& annotations)
{
    auto key = [](const std::shared_ptr<TNAnnotation>& annotation) {
        return std::pair(annotation->plLocationRangeStart().value_or(0), annotation->annotationCreationDate().value_or(KCDate {}));
    };
    std::stable_sort(annotations.begin(), annotations.end(), [&](const auto& a, const auto& b) { return key(a) < key(b); });
}

int runExport(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"store", "format", "asset", "book-url", "output", "cache-dir"});
    if (auto failed = PMRejectUnknown(arguments, {"no-citations"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("export needs exactly one book (see pagemoor export --help)");
    auto storePath = arguments.option("store");
    if (!storePath)
        return PMFail("export needs --store FILE");
    auto format = arguments.option("format");
    if (!format || (*format != "rtf" && *format != "text"))
        return PMFail("export needs --format rtf or --format text");
    std::optional<KCURL> bookURL;
    if (auto text = arguments.option("book-url")) {
        bookURL = KCURL::URLWithString(*text);
        if (!bookURL)
            return PMFail("--book-url needs an absolute URL, not '" + *text + "'");
    }

    PMSendLogToStandardError();
    auto book = PMOpenBookArgument(arguments.positionals()[0], arguments);
    if (!book)
        return 1;
    auto session = PMOpenStore(*storePath);
    if (!session)
        return PMFail("could not open the annotation store " + *storePath);
    std::u16string asset = PMTextOption(arguments, "asset").value_or(KCUTF16FromUTF8(book->package().uniqueIdentifier));
    KCError error;
    auto annotations = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForUserAnnotationsWithAssetID(asset, false), session->context.get(), &error);
    if (!annotations)
        return PMFail("could not read the annotation store: " + error.message);
    sortInReadingOrder(*annotations);

    TNAnnotationGroupRTFGenerator generator;
    generator.setAnnotations(std::move(*annotations));
    generator.setCitationsAllowed(!arguments.flag("no-citations"));
    generator.setBookCitationString(citationForBook(book->package()));
    if (bookURL) {
        generator.setBookURLPrefix(KCCommonCoreBundle().localizedString(u"Check out this book on the Pagemoor Store: "));
        generator.setBookURL(bookURL);
    }
    KCStyledString styled = generator.attributedString();
    std::string bytes = *format == "rtf" ? KCRTFFromStyledString(styled) : KCUTF8FromUTF16(styled.string());
    if (!PMWriteOutput(bytes, arguments.option("output")))
        return PMFail("cannot write " + arguments.option("output").value_or("standard output"));
    return 0;
}

PMCommandRegistration registration({"export", "write a book's annotations as one RTF or text document", kUsage, runExport});

} // namespace
