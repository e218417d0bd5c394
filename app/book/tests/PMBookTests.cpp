#include "book/PMBookError.h"

#include "PMTestEpub.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

PMTestEpub sampleBook()
{
    PMTestEpub epub;
    epub.uniqueIdentifier = " urn:isbn: 978-0-306\t40615-7\n";
    epub.otherIdentifiers = {"urn:uuid:12345678-9abc-def0-0fed-cba987654321"};
    epub.files = {
        {"OEBPS/text/ch2.xhtml", "<html>2</html>", "application/xhtml+xml", "", "", true},
        {"OEBPS/text/ch 1.xhtml", "<html>1</html>", "application/xhtml+xml", "text/ch%201.xhtml", "", true},
        {"styles/main.css", "p{}", "text/css", "../styles/main.css", "", false},
        {"OEBPS/fonts/a.otf", "font", "font/otf", "", "http://www.idpf.org/2008/embedding", false},
    };
    return epub;
}

TEST(PMBook, ReadsThePackageAndDescribesEveryResource)
{
    PMBookSandbox sandbox;
    PMTestEpub epub = sampleBook();
    ASSERT_TRUE(epub.write(sandbox.file("book.epub")));
    KCError error;
    auto book = sandbox.open("book.epub", &error);
    ASSERT_TRUE(book) << error.message;

    EXPECT_TRUE(book->contentsPath().starts_with(sandbox.cacheDirectory() + "/"));
    EXPECT_EQ(book->packagePath(), "OEBPS/content.opf");
    const PMPackage& package = book->package();
    EXPECT_EQ(package.uniqueIdentifier, "urn:isbn: 978-0-306\t40615-7");
    EXPECT_EQ(package.title, "A Test Book");
    EXPECT_EQ(package.creator, "Test Author");
    EXPECT_EQ(package.language, "en");
    ASSERT_EQ(package.manifest.size(), 4u);
    EXPECT_EQ(package.manifest[1].path, "OEBPS/text/ch 1.xhtml");
    EXPECT_EQ(package.manifest[2].path, "styles/main.css");
    ASSERT_EQ(package.spine.size(), 2u);
    EXPECT_EQ(package.spine[0].path, "OEBPS/text/ch2.xhtml");
    EXPECT_EQ(package.spine[1].path, "OEBPS/text/ch 1.xhtml");

    // Every resource lies under the contents path, keyed by "/" and that relative path.
    KCDictionary resources = book->resourceInformation();
    for (const auto& [key, information] : resources)
        EXPECT_TRUE(fs::is_regular_file(book->contentsPath() + key)) << key;
    const KCValue& font = resources.find("/OEBPS/fonts/a.otf") ? *resources.find("/OEBPS/fonts/a.otf") : KCNullValue();
    EXPECT_EQ(font["mimeType"], KCValue(u"font/otf"));
    EXPECT_EQ(font["encryptionAlgorithm"], KCValue(u"http://www.idpf.org/2008/embedding"));
    EXPECT_EQ(font["bookEpubId"], KCValue(u"urn:isbn:978-0-30640615-7"));
    EXPECT_EQ(font["bookEpubIdWithUUIDScheme"], KCValue(u"urn:uuid:12345678-9abc-def0-0fed-cba987654321"));
    ASSERT_TRUE(resources.find("/styles/main.css"));
    EXPECT_TRUE((*resources.find("/styles/main.css"))["encryptionAlgorithm"].isNull());
}

TEST(PMBook, ReusesACompleteUnpackUntilTheFileChanges)
{
    PMBookSandbox sandbox;
    ASSERT_TRUE(sampleBook().write(sandbox.file("book.epub")));
    KCError error;
    auto first = sandbox.open("book.epub", &error);
    ASSERT_TRUE(first);
    std::ofstream(first->contentsPath() + "/marker") << "kept";
    auto second = sandbox.open("book.epub", &error);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->contentsPath(), first->contentsPath());
    EXPECT_TRUE(fs::exists(second->contentsPath() + "/marker"));

    fs::last_write_time(sandbox.file("book.epub"), fs::last_write_time(sandbox.file("book.epub")) + std::chrono::seconds(5));
    auto changed = sandbox.open("book.epub", &error);
    ASSERT_TRUE(changed);
    EXPECT_NE(changed->contentsPath(), first->contentsPath());
    // No temporary directories are left behind.
    for (const auto& entry : fs::directory_iterator(sandbox.cacheDirectory()))
        EXPECT_FALSE(entry.path().filename().string().starts_with(".")) << entry.path();
}

TEST(PMBook, RefusesAnotherKindOfDocumentByItsName)
{
    PMBookSandbox sandbox;
    ASSERT_TRUE(sampleBook().write(sandbox.file("book.PDF")));
    ASSERT_TRUE(sampleBook().write(sandbox.file("book.zip")));
    KCError error;
    EXPECT_FALSE(sandbox.open("book.PDF", &error));
    EXPECT_EQ(error.code, int64_t(PMBookErrorCode::NotAnEPUB)) << error.message;
    EXPECT_FALSE(fs::exists(sandbox.cacheDirectory()) && !fs::is_empty(sandbox.cacheDirectory()));
    EXPECT_TRUE(sandbox.open("book.zip", &error)) << error.message;
}

TEST(PMBook, UniqueIdentifierChoices)
{
    PMBookSandbox sandbox;
    PMTestEpub epub;
    epub.uniqueIdentifier = "urn:uuid:aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee";
    epub.otherIdentifiers = {"urn:uuid:11111111-2222-3333-4444-555555555555"};
    ASSERT_TRUE(epub.write(sandbox.file("uuid.epub")));
    KCError error;
    auto book = sandbox.open("uuid.epub", &error);
    ASSERT_TRUE(book);
    EXPECT_EQ(book->bookEpubIdWithUUIDScheme(), u"urn:uuid:aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee");

    epub.uniqueIdentifier = "isbn-only";
    epub.otherIdentifiers = {};
    ASSERT_TRUE(epub.write(sandbox.file("plain.epub")));
    book = sandbox.open("plain.epub", &error);
    ASSERT_TRUE(book);
    EXPECT_EQ(book->bookEpubId(), u"isbn-only");
    EXPECT_FALSE(book->bookEpubIdWithUUIDScheme());
}

TEST(PMBookPackage, ContainerPathsAreResolvedInsideTheContainer)
{
    EXPECT_EQ(PMResolveContainerPath("OEBPS/", "text/ch1.xhtml#p3"), "OEBPS/text/ch1.xhtml");
    EXPECT_EQ(PMResolveContainerPath("OEBPS/text/", "../images/a%20b.png"), "OEBPS/images/a b.png");
    EXPECT_EQ(PMResolveContainerPath("OEBPS/", "./a//b.css"), "OEBPS/a/b.css");
    EXPECT_EQ(PMResolveContainerPath("OEBPS/", "/root.css"), "root.css");
    EXPECT_EQ(PMResolveContainerPath("OEBPS/", "../../etc/passwd"), "");
    EXPECT_EQ(PMResolveContainerPath("OEBPS/", "%2e%2e/%2e%2e/x"), "");
    EXPECT_EQ(PMResolveContainerPath("OEBPS/", "https://example.org/font.otf"), "");
    EXPECT_EQ(PMResolveContainerPath("OEBPS/", "bad%00name"), "");

    KCError error;
    EXPECT_FALSE(PMPackagePathFromContainer("<container><rootfiles/></container>", &error));
    EXPECT_FALSE(PMPackagePathFromContainer("not xml", &error));
    EXPECT_EQ(PMPackagePathFromContainer("<container><rootfiles><rootfile full-path=\"a/p.opf\"/></rootfiles></container>", &error), "a/p.opf");
    EXPECT_TRUE(PMParseEncryption("<<<").empty());
}

} // namespace
