#include "Sharing/TNUserPublishing.h"

#include "Utilities/KCJSON.h"
#include "Utilities/KCStringConversion.h"

#include <gtest/gtest.h>

namespace {

using Page = std::optional<std::u16string>;

// Pages without a table or ending with it are the store look-up tests'.
TEST(TNUserPublishing, FirstTableOfPage)
{
    struct Case {
        const char16_t* page;
        Page table;
    } cases[] = {
        {u"<p>a</p><TABLE x><tr></tr></Table><table>2</table> ", u"<TABLE x><tr></tr></Table>"},
        {u"<table>a</table>\n", u"<table>a</table>"},
        {u"text <table", std::nullopt},        // nothing after "<table"
        {u"<table>a</tab le>", std::nullopt},
        {u"</table><table>a</table>.", u"<table>a</table>"},
    };
    for (const auto& [page, table] : cases)
        EXPECT_EQ(TNUserPublishing::p_firstTableOfPage(page), table) << KCUTF8FromUTF16(page);
}

TNUserPublishingProductProfile profile(const char* json)
{
    return *TNUserPublishingProductProfile::initWithProfileDictionary(*KCValueFromJSON(KCJSON::parse(json)));
}

TEST(TNUserPublishing, ProductProfiles)
{
    auto covers = profile(R"({"artwork": [{"width": 100, "height": 150, "url": "https://i.test/100"},
        {"width": "600", "height": "900", "url": "https://i.test/600"}, {"width": 1200, "height": 1800, "url": "https://i.test/1200"}]})");
    EXPECT_EQ(covers.urlForCoverImageOfSize({500, 500})->absoluteString(), "https://i.test/600");
    EXPECT_EQ(covers.urlForCoverImageOfSize({0, 500})->absoluteString(), "https://i.test/1200");
    EXPECT_FALSE(profile(R"({"artwork": [{"width": 10, "height": 10, "url": ""}]})").urlForCoverImageOfSize({}));

    EXPECT_TRUE(profile(R"({"contentRating": {"name": "EXPLICIT", "value": true}})").isExplicit());
    EXPECT_FALSE(profile(R"({"contentRating": {"name": "explicit", "value": false}})").isExplicit());
    EXPECT_FALSE(TNUserPublishingProductProfile::initWithProfileDictionary(KCValue(u"record")));
}

TEST(TNUserPublishing, GeneratedBody)
{
    TNUserPublishing& service = TNUserPublishing::sharedInstance();
    TNUserPublishingDataSource dataSource;
    dataSource.assetTitleForStoreId = [](TNUserPublishing&, std::u16string_view) { return std::optional<std::u16string>(u"Moby-Dick"); };
    dataSource.storeURLForStoreId = [](TNUserPublishing&, std::u16string_view) { return KCURL::URLWithString("https://d.test/1"); };
    // No look-up class: no download; a store ID without a number is not asked about at all.
    for (const char16_t* id : {u"12", u"abc"}) {
        auto body = KCUTF8FromUTF16(*service.bookInfoHTMLForStoreId(id, &dataSource));
        EXPECT_NE(body.find("<a href=\"https://d.test/1\">Moby-Dick</a>"), std::string::npos);
        EXPECT_NE(body.find("<!-- %%AUTHOR%% -->"), std::string::npos);  // no author: left in place
        EXPECT_EQ(body.find("<!-- %%CATEGORY%% -->"), std::string::npos);
    }
    EXPECT_FALSE(service.bookInfoHTMLForStoreId(u"0", nullptr));
    dataSource.isLocalGenerationEnabledForStoreId = [](TNUserPublishing&, std::u16string_view) { return false; };
    EXPECT_FALSE(service.bookInfoHTMLForStoreId(u"12", &dataSource));
}

} // namespace
