#include "Sharing/TNAssetHTMLGenerator.h"
#include "Sharing/TNHTMLText.h"

#include "Utilities/KCStringConversion.h"

#include <gtest/gtest.h>

namespace {

TEST(TNHTMLText, PlaceholdersAndBreaks)
{
    struct Case {
        const char16_t* text;
        std::optional<std::u16string_view> replacement;
        const char16_t* filled;
    } cases[] = {
        {u"<!--P--> and <!--P-->", u"x", u"x and x"},
        {u"a<!--P-->b", std::nullopt, u"ab"},
        {u"<!--P--><!--P-->", u"<!--P-->!", u"<!--P-->!<!--P-->!"},  // inserted text is not searched again
    };
    for (const auto& [text, replacement, filled] : cases) {
        std::u16string document = text;
        TNReplaceTemplatePlaceholder(document, u"<!--P-->", replacement);
        EXPECT_EQ(document, filled) << KCUTF8FromUTF16(text);
    }
    EXPECT_EQ(kc_stringByReplacingNewLinesWithHTMLBreaks(u"a\nb\r\n"), u"a<br>\nb\r<br>\n");
}

std::string utf8(const TNAssetHTMLGenerator::Text& text)
{
    return text ? KCUTF8FromUTF16(*text) : "(none)";
}

TEST(TNAssetHTMLGenerator, DataSourceAnswers)
{
    int storeURLQuestions = 0;
    TNAssetHTMLGeneratorDataSource dataSource;
    dataSource.storeURLForHTMLGenerator = [&](const TNAssetHTMLGenerator&) {
        ++storeURLQuestions;
        return KCURL::URLWithString("https://store.example/book/id42");
    };
    dataSource.citationForStoreURL = [](const TNAssetHTMLGenerator&, std::optional<std::u16string_view> url) {
        return std::optional<std::u16string>(u"Moby-Dick.\nHerman Melville. " + std::u16string(url.value_or(u"")));
    };
    TNAssetHTMLGenerator generator;
    generator.setDataSource(&dataSource);
    EXPECT_EQ(utf8(generator.citationIncludingStoreURL(false)), "Moby-Dick.<br>\nHerman Melville. ");
    EXPECT_EQ(utf8(generator.citationIncludingStoreURL(true)), "Moby-Dick.<br>\nHerman Melville. https://store.example/book/id42");

    TNUserPublishingDataSource answers = generator.userPublishingDataSource();
    storeURLQuestions = 0;
    for (const char16_t* id : {u"0", u"abc", u""})
        EXPECT_FALSE(answers.storeURLForStoreId(TNUserPublishing::sharedInstance(), id));
    EXPECT_EQ(storeURLQuestions, 0);
    EXPECT_FALSE(generator.templateStringForName("TNNoSuchShare"));
}

// The book-information block describes the book alone; a placeholder inside
// it is filled when its own step comes later.
TEST(TNAssetHTMLGenerator, DocumentWithBookInformation)
{
    TNAssetHTMLGeneratorDataSource dataSource;
    dataSource.storeURLForHTMLGenerator = [](const TNAssetHTMLGenerator&) { return KCURL::URLWithString("https://store.example/book/id42"); };
    dataSource.citationForStoreURL = [](const TNAssetHTMLGenerator&, std::optional<std::u16string_view>) { return std::optional<std::u16string>(u"CITED"); };
    TNAssetHTMLGenerator generator;
    generator.setDataSource(&dataSource);
    generator.setTitle(u"Moby-Dick <!-- %%READINGDIRECTION%% --> <!-- %%STYLESECTION%% -->");
    generator.setAuthor(u"Herman Melville");
    generator.setGenre(u"Fiction");
    generator.setStoreId(u"42");
    generator.setReadingDirection(u"rtl");

    std::string document = utf8(generator.documentString());
    EXPECT_NE(document.find("Check out this book on the Pagemoor Store:"), std::string::npos);
    EXPECT_NE(document.find(">Moby-Dick rtl <!-- %%STYLESECTION%% --></a>"), std::string::npos);
    EXPECT_NE(document.find("<style type=\"text/css\">"), std::string::npos);
    EXPECT_NE(document.find("dir=\"rtl\""), std::string::npos);
    EXPECT_NE(document.find("not been added to any email lists."), std::string::npos);
    EXPECT_EQ(document.find("CITED"), std::string::npos);
    EXPECT_EQ(document.find("Available in Pagemoor Store"), std::string::npos);

    generator.setTitle(u"Moby-Dick");
    dataSource.storeURLForHTMLGenerator = [](const TNAssetHTMLGenerator&) { return std::optional<KCURL>(); };
    document = utf8(generator.documentString());
    EXPECT_NE(document.find("Check out this book:"), std::string::npos);
    EXPECT_EQ(document.find("<!-- %%"), std::string::npos);
}

} // namespace
