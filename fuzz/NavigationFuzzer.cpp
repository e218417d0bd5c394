// Any bytes as a book's navigation document, and any location: reading never
// crashes, every entry it keeps names a spine item that exists (or none), and
// page ranges are either unknown or start at a page.
//
// Input: the location up to the first line feed, then the document (an XHTML
// nav or an NCX) of a three-document book whose package lies beside it.
#include "book/PMBookNavigation.h"
#include "Utilities/KCLogger.h"

#include <cstdlib>
#include <string_view>

namespace {

const PMPackage& package()
{
    static const PMPackage package = [] {
        PMPackage book;
        book.spine = {{"c1", "OEBPS/text/ch1.xhtml", true}, {"c2", "OEBPS/text/ch 2.xhtml", true}, {"c3", "OEBPS/ch3.xhtml", false}};
        return book;
    }();
    return package;
}

void checkEntries(const std::vector<PMNavigationEntry>& entries)
{
    for (const auto& entry : entries) {
        if (entry.title.empty() || entry.path.empty() || (entry.spineIndex && *entry.spineIndex >= package().spine.size()))
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool quiet = (KCLogger::sharedLogger()->setFilter(std::string("\x01")), true);
    (void)quiet;
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    size_t lineEnd = bytes.find('\n');
    std::string_view location = bytes.substr(0, lineEnd);
    std::string_view document = lineEnd == std::string_view::npos ? std::string_view() : bytes.substr(lineEnd + 1);

    KCError error;
    auto navigation = PMBookNavigation::parse(document, "OEBPS/nav.xhtml", package(), "OEBPS/content.opf", &error);
    if (!navigation)
        return 0;
    checkEntries(navigation->tableOfContents());
    checkEntries(navigation->pageList());
    for (std::string_view cfi : {location, std::string_view("epubcfi(/6/4!/4/2/1:0)")}) {
        navigation->chapterTitleForLocation(cfi);
        KCRange pages = navigation->pageRangeForLocation(cfi);
        if (pages.found() != (pages.length > 0))
            std::abort();
    }
    return 0;
}
