#include "TNAssetCitation.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCStringAdditions.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"

#include <unicode/uchar.h>

namespace {

bool isLineBreak(char32_t c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

void dropFinalFullStop(std::u16string& text)
{
    if (!text.empty() && text.back() == u'.')
        text.pop_back();
}

std::u16string formatted(std::u16string format, std::u16string_view argument)
{
    if (size_t at = format.find(u"%@"); at != std::u16string::npos)
        format.replace(at, 2, argument);
    return format;
}

void addPiece(std::u16string& citation, std::u16string_view piece)
{
    std::u16string_view trimmed = KCTrimWhitespaceAndNewlines(piece);
    citation += trimmed;
    if (trimmed.empty() || trimmed.back() != u'.')
        citation += u'.';
    citation += u' ';
}

std::u16string pageText(uint64_t page)
{
    return KCUTF16FromUTF8(std::to_string(page)) + u"ll";
}

} // namespace

std::u16string_view TNTrimmedOfBlanks(std::u16string_view text)
{
    auto blank = [](char16_t c) { return KCIsWhitespaceOrNewline(c) && !isLineBreak(c); };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::u16string TNAssetCitationPageRange(KCRange pageRange)
{
    std::u16string first = pageText(pageRange.location);
    if (!pageRange.length)
        return first;
    std::u16string last = pageText(pageRange.location + pageRange.length);
    size_t common = 0;
    while (common < first.size() && common < last.size() && u_foldCase(first[common], U_FOLD_CASE_DEFAULT) == u_foldCase(last[common], U_FOLD_CASE_DEFAULT))
        ++common;
    return first + u"-" + last.substr(common);
}

std::u16string TNAssetCitation(const TNAssetCitationSource& book, const std::optional<std::u16string>& storeURL, KCRange pageRange)
{
    const KCBundle& bundle = KCCommonCoreBundle();
    std::u16string citation;
    if (!book.author.empty())
        addPiece(citation, book.author);
    if (!book.title.empty()) {
        std::u16string title(TNTrimmedOfBlanks(book.title));
        dropFinalFullStop(title);
        if (storeURL)
            title = u"<a href=\"" + *storeURL + u"\">" + title + u"</a>";
        title = stringByRemovingEnclosingQuotations(title);
        dropFinalFullStop(title);
        citation += formatted(bundle.localizedString(u"\\U201C%@.\\U201D"), title) + u" ";
    }
    if (!book.publisherName.empty())
        addPiece(citation, book.publisherYear.empty() ? book.publisherName : book.publisherName + u", " + book.publisherYear);
    if (pageRange.found())
        addPiece(citation, TNAssetCitationPageRange(pageRange));
    addPiece(citation, bundle.localizedString(u"Pagemoor"));
    return citation;
}
