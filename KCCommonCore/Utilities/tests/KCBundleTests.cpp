#include "Utilities/KCBundle.h"
#include "Utilities/KCStringTable.h"

#include "KCTestFiles.h"

#include <gtest/gtest.h>

namespace {

const KCBundle& builtIn()
{
    static const KCBundle bundle(std::nullopt);
    return bundle;
}

TEST(KCBundle, LooksUpTextsAndEscapeLookingKeys)
{
    // The last entry of the table: the whole file was read.
    EXPECT_EQ(builtIn().localizedString(u"PagemoorAppsLink"), u"https://pagemoor.example/apps");
    EXPECT_EQ(builtIn().localizedString(u"Not in the table %@"), u"Not in the table %@");
    EXPECT_EQ(builtIn().localizedString(u""), u"");
    // Keys spelled with escapes give quotation marks and the ellipsis.
    EXPECT_EQ(builtIn().localizedString(u"\\U201C%@\\U201D by %@"), u"\u201C%@\u201D by %@");
    EXPECT_EQ(builtIn().localizedString(u"[\\U2026]"), u"[\u2026]");
    // Asked with the real characters, the key is its own text.
    EXPECT_EQ(builtIn().localizedString(u"\u201C%@\u201D"), u"\u201C%@\u201D");
}

TEST(KCBundle, ResourcesAreTheFilesOfTheResourceFolder)
{
    auto table = builtIn().resourceData("Localizable", "strings");
    ASSERT_TRUE(table);
    EXPECT_EQ(*table, KCReadTestFile(PM_SOURCE_DIR "/KCCommonCore/Resources/Localizable.strings"));
    EXPECT_EQ(builtIn().resourceData("Localizable.strings", ""), table);
    for (const auto& [name, extension] : {std::pair {"Localizable", "css"}, {"CMakeLists", "txt"}, {"", ""}})
        EXPECT_EQ(builtIn().resourceData(name, extension), std::nullopt) << name;
}

TEST(KCBundle, OverrideDirectoryWins)
{
    KCScratchDirectory scratch;
    KCWriteTestFile(scratch.file("Localizable.strings"), "\"None\" = \"Nothing at all\";\n");
    KCWriteTestFile(scratch.file("Extra.html.tmpl"), "<p>extra</p>");
    std::filesystem::create_directory(scratch.file("Folder.css"));
    KCWriteTestFile(scratch.file("Folder.css/Inner.css"), "p {}");
    KCBundle bundle(scratch.path());

    EXPECT_EQ(bundle.localizedString(u"None"), u"Nothing at all");
    EXPECT_EQ(bundle.localizedString(u"Untitled"), u"Untitled");
    EXPECT_EQ(bundle.resourceData("Extra.html", "tmpl"), "<p>extra</p>");
    // A directory is not a resource; the built-in files stay reachable, paths do not.
    EXPECT_EQ(bundle.resourceData("Folder", "css"), std::nullopt);
    EXPECT_EQ(bundle.resourceData("Folder.css/Inner", "css"), std::nullopt);
}

TEST(KCStringTable, ReadsEscapesAndComments)
{
    auto entries = KCParseStringTable(
        "\xEF\xBB\xBF/* header */ // line comment\n"
        "\"a\\\"b\" = \"c\\\\d\\ne\";\n"
        "\"\\\\U2026\"=\"\\U2026\\UD83D\\UDE00\" ; // trailing\n");
    ASSERT_TRUE(entries);
    EXPECT_EQ(*entries, KCStringTableEntries({{u"a\"b", u"c\\d\ne"}, {u"\\U2026", u"\u2026\U0001F600"}}));
    EXPECT_EQ(KCParseStringTable(""), KCStringTableEntries());
}

TEST(KCStringTable, MalformedTablesAreRejected)
{
    for (const char* text : {
             "\"a\" = \"b\"",        // no semicolon
             "\"a\" \"b\";",         // no equals sign
             "\"a\" = \"b;\n",       // unterminated value
             "\"a\" = \"\\U20\";",   // short escape
             "\"a\" = \"\\UZZZZ\";", // not hex
             "a = \"b\";",           // unquoted key
             "/* open comment",
         })
        EXPECT_EQ(KCParseStringTable(text), std::nullopt) << text;
}

} // namespace
