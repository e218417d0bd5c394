// Chapter titles and page ranges for annotation locations, and the book
// properties of the package, on real books and on generated EPUB 2 ones.
#include "book/PMBookNavigation.h"

#include "PMTestEpub.h"
#include "book/PMBookError.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

// One of the real books of app/e2e/books (see the NOTICE there).
std::optional<PMBook> openRealBook(const PMBookSandbox& sandbox, const std::string& name)
{
    if (!std::filesystem::exists(sandbox.file(name)))
        std::filesystem::copy_file(std::string(PM_SOURCE_DIR) + "/app/e2e/books/" + name, sandbox.file(name));
    KCError error;
    auto book = sandbox.open(name, &error);
    EXPECT_TRUE(book) << error.message;
    return book;
}

TEST(PMBookNavigation, ChaptersAndPagesOfRealBooks)
{
    PMBookSandbox sandbox;
    struct Case {
        const char* book;
        const char* location;
        std::optional<std::string> chapter;
        KCRange pages;
    };
    const Case cases[] = {
        // The cover has no entry and nothing before it; the page list points into the package by CFIs.
        {"georgia-cfi.epub", "epubcfi(/6/2[cover]!/4/1:0)", std::nullopt, {}},
        {"georgia-cfi.epub", "epubcfi(/6/4[ct]!/4/2[d10e42]/12/1:0)", "GEORGIA", {752, 7}},
        {"regime-anticancer-arabic.epub", "epubcfi(/6/2!/4/2)", "Couverture", {}},
        {"regime-anticancer-arabic.epub", "epubcfi(/6/6!/4/2/1:3)", "Commencer la lecture", {}},
        {"regime-anticancer-arabic.epub", "epubcfi(/6/8!/4/2)", std::nullopt, {}},  // past the spine's end
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(std::string(test.book) + " " + test.location);
        auto book = openRealBook(sandbox, test.book);
        ASSERT_TRUE(book);
        KCError error;
        auto navigation = PMBookNavigation::open(*book, &error);
        ASSERT_TRUE(navigation) << error.message;
        EXPECT_EQ(navigation->chapterTitleForLocation(test.location), test.chapter);
        EXPECT_EQ(navigation->pageRangeForLocation(test.location), test.pages);
    }
}

TEST(PMBookNavigation, AnEPUB2BookWithAnNCX)
{
    PMTestEpub epub;
    epub.packageOverride = R"(<?xml version="1.0"?>
<package xmlns="http://www.idpf.org/2007/opf" xmlns:opf="http://www.idpf.org/2007/opf" version="2.0" unique-identifier="uid">
  <metadata><dc-metadata xmlns:dc="http://purl.org/dc/elements/1.1/">
    <dc:identifier id="uid">urn:uuid:0f3c8a52-7d1e-4b6a-9c2f-5e8d1a7b3c40</dc:identifier>
    <dc:identifier opf:scheme="ISBN">0-8044-2957-x</dc:identifier>
    <dc:title>Split Chapters</dc:title><dc:creator opf:role="aut">A. Writer</dc:creator>
    <dc:publisher>Small Press</dc:publisher>
    <dc:date opf:event="modification">2020-01-02</dc:date><dc:date opf:event="publication">1999</dc:date>
  </dc-metadata></metadata>
  <manifest>
    <item id="toc" href="toc.ncx" media-type="application/x-dtbncx+xml"/>
    <item id="c1" href="text/ch1.xhtml" media-type="application/xhtml+xml"/>
    <item id="c1b" href="text/ch1b.xhtml" media-type="application/xhtml+xml"/>
    <item id="c2" href="text/ch%202.xhtml" media-type="application/xhtml+xml"/>
  </manifest>
  <spine toc="toc"><itemref idref="c1"/><itemref idref="c1b"/><itemref idref="c2"/></spine>
</package>)";
    auto target = [](const char* label, const char* src) {
        return std::string("<navLabel><text>") + label + "</text></navLabel><content src=\"" + src + "\"/>";
    };
    std::string ncx = "<ncx xmlns=\"http://www.daisy.org/z3986/2005/ncx/\" version=\"2005-1\"><navMap>"
        "<navPoint id=\"n0\">" + target("Escaped", "../../elsewhere.xhtml") + "</navPoint>"
        "<navPoint id=\"n1\">" + target("\n  Chapter\t One ", "text/ch1.xhtml") +
        "  <navPoint id=\"n2\">" + target("Part of One", "text/ch1.xhtml#p2") + "</navPoint></navPoint>"
        "<navPoint id=\"n3\">" + target("Chapter Two", "text/ch%202.xhtml#start") + "</navPoint></navMap>"
        "<pageList><pageTarget type=\"front\">" + target("iv", "text/ch1.xhtml#iv") + "</pageTarget>"
        "<pageTarget>" + target("7", "text/ch1b.xhtml#p7") + "</pageTarget><pageTarget>" + target("8", "text/ch1b.xhtml#p8") + "</pageTarget>"
        "</pageList></ncx>";
    epub.files = {{"OEBPS/toc.ncx", ncx, "", "", "", false}, {"OEBPS/text/ch1.xhtml", "<html/>", "", "", "", false},
        {"OEBPS/text/ch1b.xhtml", "<html/>", "", "", "", false}, {"OEBPS/text/ch 2.xhtml", "<html/>", "", "", "", false}};
    PMBookSandbox sandbox;
    ASSERT_TRUE(epub.write(sandbox.file("ncx.epub")));
    KCError error;
    auto book = sandbox.open("ncx.epub", &error);
    ASSERT_TRUE(book) << error.message;
    EXPECT_EQ(book->package().publisher, "Small Press");
    EXPECT_EQ(book->package().date, "1999");
    EXPECT_EQ(book->package().year(), "1999");
    EXPECT_EQ(book->package().storeId, "080442957X");

    auto navigation = PMBookNavigation::open(*book, &error);
    ASSERT_TRUE(navigation) << error.message;
    EXPECT_EQ(navigation->tableOfContents().size(), 3u);  // the escaping entry is dropped
    EXPECT_EQ(navigation->chapterTitleForLocation("epubcfi(/6/2!/4/2)"), "Chapter One");
    EXPECT_EQ(navigation->chapterTitleForLocation("epubcfi(/6/4[c1b]!/4/2)"), "Part of One");  // continued from ch1
    EXPECT_EQ(navigation->chapterTitleForLocation("epubcfi(/6/6!/4)"), "Chapter Two");
    EXPECT_EQ(navigation->pageRangeForLocation("epubcfi(/6/2!/4)"), KCRange());  // only a roman label
    EXPECT_EQ(navigation->pageRangeForLocation("epubcfi(/6/4!/4)"), (KCRange {7, 2}));
}

TEST(PMBookNavigation, BadLocationsAndDocumentsAnswerNothing)
{
    PMPackage package;
    package.spine = {{"a", "OEBPS/a.xhtml", true}, {"b", "OEBPS/b.xhtml", true}};
    KCError error;
    EXPECT_FALSE(PMBookNavigation::parse("<html><nav", "OEBPS/nav.xhtml", package, "OEBPS/p.opf", &error));
    EXPECT_EQ(error.code, int64_t(PMBookErrorCode::MalformedXML));
    auto navigation = PMBookNavigation::parse(
        R"(<html xmlns:epub="http://www.idpf.org/2007/ops"><body><nav epub:type="toc"><ol><li><a href="a.xhtml">A</a></li></ol></nav></body></html>)",
        "OEBPS/nav.xhtml", package, "OEBPS/p.opf", &error);
    ASSERT_TRUE(navigation);
    EXPECT_EQ(navigation->chapterTitleForLocation("epubcfi(/6/4!/4/1:0)"), "A");
    for (const char* location : {"", "/6/2!/4", "epubcfi(/6/3!/4)", "epubcfi(/6/0)", "epubcfi(/6/2[open!/4)", "epubcfi(/6/2x)", "epubcfi(/6/6!/4)",
             "epubcfi(/6/-2!/4)", "epubcfi(/6/99999999999999999999999!/4)", "epubcfi(/4/2!/4)"}) {
        EXPECT_FALSE(navigation->chapterTitleForLocation(location)) << location;
        EXPECT_EQ(navigation->pageRangeForLocation(location), KCRange()) << location;
    }
    EXPECT_EQ(PMSpineIndexFromCFI("epubcfi(/6/2[a^]b]!/4)"), 0u);
    EXPECT_EQ(PMSpineIndexFromCFI("epubcfi(/6/4)"), 1u);
    EXPECT_FALSE(PMBookNavigation().chapterTitleForLocation("epubcfi(/6/2!/4)"));
}

TEST(PMBookPackage, StoreIdsAreTheDigitsOfAnISBN)
{
    struct Case {
        const char* identifier;
        bool scheme;
        const char* digits;
    };
    const Case cases[] = {
        {"urn:isbn:978-0-306-40615-7", false, "9780306406157"},
        {"ISBN: 0 306 40615 2", false, "0306406152"},
        {"978 0 306 40615 7", true, "9780306406157"},
        {"978-0-306-40615-7", false, "9780306406157"},
        {"030640615X", false, "030640615X"},
        {"978 0 306 40615 7", false, ""},  // bare, with blanks
        {"urn:uuid:12345678-9abc-def0-0fed-cba987654321", false, ""},
        {"http://www.gutenberg.org/ebooks/25545", false, ""},
        {"12345", true, ""},
        {"03064X6152", false, ""},
    };
    for (const Case& test : cases)
        EXPECT_EQ(PMISBNDigits(test.identifier, test.scheme), test.digits) << test.identifier;
}

} // namespace
