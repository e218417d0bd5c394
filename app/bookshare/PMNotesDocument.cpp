#include "PMNotesDocument.h"

#include "Annotations/TNAnnotationGroupHTMLGenerator.h"
#include "Annotations/TNAnnotationGroupRTFGenerator.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCRTFWriter.h"
#include "Utilities/KCStringConversion.h"

#include <glib.h>

#include <algorithm>
#include <filesystem>

std::optional<PMNotesFormat> PMNotesFormatNamed(std::string_view name)
{
    if (name == "html")
        return PMNotesFormat::HTML;
    if (name == "rtf")
        return PMNotesFormat::RTF;
    if (name == "text")
        return PMNotesFormat::Text;
    return std::nullopt;
}

std::optional<PMNotesFormat> PMNotesFormatOfPath(std::string_view path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension)
        c = static_cast<char>(g_ascii_tolower(c));
    if (extension == ".html" || extension == ".htm")
        return PMNotesFormat::HTML;
    if (extension == ".rtf")
        return PMNotesFormat::RTF;
    if (extension == ".txt")
        return PMNotesFormat::Text;
    return std::nullopt;
}

void PMSortInReadingOrder(TNAnnotation::Annotations& annotations)
{
    auto key = [](const std::shared_ptr<TNAnnotation>& annotation) {
        return std::pair(annotation->plLocationRangeStart().value_or(0), annotation->annotationCreationDate().value_or(KCDate {}));
    };
    std::stable_sort(annotations.begin(), annotations.end(), [&](const auto& a, const auto& b) { return key(a) < key(b); });
}

std::u16string PMNotesHTMLDocument(const PMNotesRequest& request, const PMBookShareData& book)
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

KCStyledString PMNotesStyledDocument(const PMNotesRequest& request, const PMBookShareData& book)
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

std::string PMNotesDocument(const PMNotesRequest& request, const PMBookShareData& book, PMNotesFormat format)
{
    switch (format) {
    case PMNotesFormat::HTML:
        return KCUTF8FromUTF16(PMNotesHTMLDocument(request, book));
    case PMNotesFormat::RTF:
        return KCRTFFromStyledString(PMNotesStyledDocument(request, book));
    case PMNotesFormat::Text:
        break;
    }
    return KCUTF8FromUTF16(PMNotesStyledDocument(request, book).string());
}
