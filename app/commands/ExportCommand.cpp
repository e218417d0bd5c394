// pagemoor export: one book's annotations, or one annotation, as the document that shares hand out.
#include "BookCommandSupport.h"
#include "PMBookShareData.h"
#include "StoreCommandSupport.h"

#include "Annotations/TNAnnotationGroupHTMLGenerator.h"
#include "Annotations/TNAnnotationGroupRTFGenerator.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCRTFWriter.h"
#include "storelookup/PMStoreLookUp.h"

#include <algorithm>

namespace {

const char* const kUsage =
    "usage: pagemoor export BOOK.epub --store FILE --format html|rtf|text [--asset ID] [--uuid U]\n"
    "                       [--no-citations] [--print] [--book-url URL] [-o FILE] [--cache-dir DIR]\n"
    "  The live highlights and notes of the book in the annotation store, in reading\n"
    "  order, as one document: per annotation its chapter or page, date, quoted excerpt\n"
    "  and note, then the book's citation.\n"
    "  --format       html: the e-mail document; rtf: rich text; text: the rich text's plain text\n"
    "  --asset        the book's ID in the store (default: the book's identifier)\n"
    "  --uuid         only this annotation (html: the document of one annotation)\n"
    "  --no-citations leave the excerpts out (html: only annotations with a note)\n"
    "  --print        html: the printable document: notes and dates, no excerpts, no links\n"
    "  --book-url     the book's store page, linked in the document\n"
    "  -o FILE        write to FILE instead of standard output\n";

// By place in the book, then by creation.
void sortInReadingOrder(TNAnnotation::Annotations& annotations)
{
    auto key = [](const std::shared_ptr<TNAnnotation>& annotation) {
        return std::pair(annotation->plLocationRangeStart().value_or(0), annotation->annotationCreationDate().value_or(KCDate {}));
    };
    std::stable_sort(annotations.begin(), annotations.end(), [&](const auto& a, const auto& b) { return key(a) < key(b); });
}

struct ExportRequest {
    TNAnnotation::Annotations annotations;
    bool single = false;
    bool citationsAllowed = true;
    bool forPrint = false;
    std::optional<KCURL> bookURL;
};

std::u16string htmlDocument(const ExportRequest& request, const PMBookShareData& book)
{
    TNAssetHTMLGeneratorDataSource dataSource;
    dataSource.storeURLForHTMLGenerator = [&](const TNAssetHTMLGenerator&) { return request.bookURL; };
    dataSource.citationForStoreURL = [&](const TNAssetHTMLGenerator&, std::optional<std::u16string_view> storeURL) {
        return std::optional<std::u16string>(TNAssetCitation(book.citationSource, storeURL ? std::optional<std::u16string>(*storeURL) : std::nullopt));
    };
    TNAnnotationPaginationDataSource pagination = book.paginationDataSource();

    std::unique_ptr<TNSingleAnnotationHTMLGenerator> generator = request.single ? std::make_unique<TNSingleAnnotationHTMLGenerator>()
                                                                                : std::make_unique<TNAnnotationGroupHTMLGenerator>();
    book.populate(*generator);
    generator->setDataSource(&dataSource);
    generator->setPaginationDataSource(&pagination);
    generator->setAnnotations(request.annotations);
    generator->setCitationsAllowed(request.citationsAllowed && !request.forPrint);
    generator->setForPrint(request.forPrint);
    return generator->documentString().value_or(u"");
}

KCStyledString styledDocument(const ExportRequest& request, const PMBookShareData& book)
{
    TNAnnotationGroupRTFGenerator generator;
    generator.setAnnotations(request.annotations);
    generator.setCitationsAllowed(request.citationsAllowed);
    generator.setBookCitationString(TNAssetCitation(book.citationSource));
    if (request.bookURL) {
        generator.setBookURLPrefix(KCCommonCoreBundle().localizedString(u"Check out this book on the Pagemoor Store: "));
        generator.setBookURL(request.bookURL);
    }
    return generator.attributedString();
}

int runExport(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"store", "format", "asset", "uuid", "book-url", "output", "cache-dir"});
    if (auto failed = PMRejectUnknown(arguments, {"no-citations", "print"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("export needs exactly one book (see pagemoor export --help)");
    auto storePath = arguments.option("store");
    if (!storePath)
        return PMFail("export needs --store FILE");
    auto format = arguments.option("format");
    if (!format || (*format != "html" && *format != "rtf" && *format != "text"))
        return PMFail("export needs --format html, rtf or text");
    ExportRequest request;
    request.citationsAllowed = !arguments.flag("no-citations");
    request.forPrint = arguments.flag("print");
    if (request.forPrint && *format != "html")
        return PMFail("--print makes an HTML document: give --format html");
    if (auto text = arguments.option("book-url")) {
        request.bookURL = KCURL::URLWithString(*text);
        if (!request.bookURL)
            return PMFail("--book-url needs an absolute URL, not '" + *text + "'");
    }

    PMSendLogToStandardError();
    PMRegisterStoreLookUp();
    auto book = PMOpenBookArgument(arguments.positionals()[0], arguments);
    if (!book)
        return 1;
    auto session = PMOpenStore(*storePath);
    if (!session)
        return PMFail("could not open the annotation store " + *storePath);
    PMBookShareData shareData = PMBookShareDataForBook(*book);
    std::u16string asset = PMTextOption(arguments, "asset").value_or(shareData.identifier);
    KCError error;
    if (auto uuid = PMTextOption(arguments, "uuid")) {
        auto annotation = TNAnnotation::annotationWithUUID(*uuid, asset, session->context.get(), &error);
        if (!annotation)
            return PMFail(error.message.empty() ? "no annotation " + *arguments.option("uuid") + " in this book" : "could not read the annotation store: " + error.message);
        request.annotations = {annotation};
        request.single = true;
    } else {
        auto annotations = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForUserAnnotationsWithAssetID(asset, false), session->context.get(), &error);
        if (!annotations)
            return PMFail("could not read the annotation store: " + error.message);
        request.annotations = std::move(*annotations);
        sortInReadingOrder(request.annotations);
    }

    std::string bytes;
    if (*format == "html")
        bytes = KCUTF8FromUTF16(htmlDocument(request, shareData));
    else if (KCStyledString styled = styledDocument(request, shareData); *format == "rtf")
        bytes = KCRTFFromStyledString(styled);
    else
        bytes = KCUTF8FromUTF16(styled.string());
    if (!PMWriteOutput(bytes, arguments.option("output")))
        return PMFail("cannot write " + arguments.option("output").value_or("standard output"));
    return 0;
}

PMCommandRegistration registration({"export", "write a book's annotations as one HTML, RTF or text document", kUsage, runExport});

} // namespace
