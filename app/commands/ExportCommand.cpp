// pagemoor export: one book's annotations, or one annotation, as the document that shares hand out.
#include "BookCommandSupport.h"
#include "StoreCommandSupport.h"

#include "bookshare/PMNotesDocument.h"
#include "storelookup/PMStoreLookUp.h"

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
    auto format = PMNotesFormatNamed(arguments.option("format").value_or(""));
    if (!format)
        return PMFail("export needs --format html, rtf or text");
    PMNotesRequest request;
    request.citationsAllowed = !arguments.flag("no-citations");
    request.forPrint = arguments.flag("print");
    if (request.forPrint && *format != PMNotesFormat::HTML)
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
        PMSortInReadingOrder(request.annotations);
    }

    if (!PMWriteOutput(PMNotesDocument(request, shareData, *format), arguments.option("output")))
        return PMFail("cannot write " + arguments.option("output").value_or("standard output"));
    return 0;
}

PMCommandRegistration registration({"export", "write a book's annotations as one HTML, RTF or text document", kUsage, runExport});

} // namespace
