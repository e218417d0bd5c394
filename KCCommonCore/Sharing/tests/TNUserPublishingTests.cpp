#include "Sharing/TNUserPublishing.h"

#include "Utilities/KCJSON.h"
#include "Utilities/KCStringConversion.h"

#include <gtest/gtest.h>

namespace {

using Page = std::optional<std::u16string>;

TEST(TNUserPublishing, FirstTableOfPage)
{
    struct Case {
        const char16_t* page;
        Page table;
    } cases[] = {
        {u"<p>a</p><TABLE x><tr></tr></Table><table>2</table> ", u"<TABLE x><tr></tr></Table>"},
        {u"<table>a</table>", std::nullopt},   // ends exactly with the end tag
        {u"<table>a</table>\n", u"<table>a</table>"},
        {u"<p>no table</p>", std::nullopt},
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
    EXPECT_TRUE(profile(R"({"contentRating": {"name": "Explicit", "value": "YES"}})").isExplicit());
    EXPECT_FALSE(profile(R"({"contentRating": {"name": "explicit", "value": false}})").isExplicit());
    EXPECT_FALSE(profile(R"({"contentRating": {"name": "clean", "value": true}})").isExplicit());
    EXPECT_FALSE(TNUserPublishingProductProfile::initWithProfileDictionary(KCValue(u"record")));
}

// A look-up class whose requests always fail, counting them.
class UserPublishing : public testing::Test {
protected:
    void SetUp() override
    {
        TNUserPublishingLookUpClass lookUpClass;
        lookUpClass.isEnabled = [] { return true; };
        lookUpClass.bookURLForStoreId = [](std::u16string_view id) { return KCURL::URLWithString("https://s.test/id" + KCUTF8FromUTF16(id)); };
        lookUpClass.create = [this](std::vector<std::u16string>, std::string) -> std::shared_ptr<TNUserPublishingLookUpRequest> {
            ++m_requests;
            return std::make_shared<FailingRequest>();
        };
        TNRegisterUserPublishingLookUpClass(kTNUserPublishingLookUpRequestClassName, lookUpClass);
        m_service.setCache(nullptr);
        m_dataSource.isDownloadEnabledForStoreId = [](TNUserPublishing&, std::u16string_view) { return false; };
        m_dataSource.assetTitleForStoreId = [](TNUserPublishing&, std::u16string_view) { return std::optional<std::u16string>(u"Moby-Dick"); };
        m_dataSource.storeURLForStoreId = [this](TNUserPublishing&, std::u16string_view) {
            ++m_dataSourceURLs;
            return KCURL::URLWithString("https://d.test/1");
        };
    }
    void TearDown() override { TNRegisterUserPublishingLookUpClass(kTNUserPublishingLookUpRequestClassName, std::nullopt); }

    struct FailingRequest : TNUserPublishingLookUpRequest {
        void startWithLookupBlock(TNUserPublishingLookUpBlock block) override { block(std::nullopt, KCError("test", 1, "refused")); }
        void cancel() override {}
    };

    TNUserPublishing& m_service = TNUserPublishing::sharedInstance();
    TNUserPublishingDataSource m_dataSource;
    int m_requests = 0;
    int m_dataSourceURLs = 0;
};

TEST_F(UserPublishing, StoreIdsWithoutANumberAreNeverLookedUp)
{
    for (const char16_t* id : {u"0", u"abc", u"", u" -0x5"}) {
        EXPECT_FALSE(m_service.storeURLForStoreId(id, nullptr));
        EXPECT_FALSE(m_service.bookInfoHTMLForStoreId(id, nullptr));
        EXPECT_TRUE(m_service.bookInfoHTMLForStoreId(id, &m_dataSource));
    }
    EXPECT_EQ(m_requests, 0);
}

TEST_F(UserPublishing, FallbacksAreNotCached)
{
    EXPECT_EQ(m_service.storeURLForStoreId(u"12", nullptr)->absoluteString(), "https://s.test/id12");
    EXPECT_EQ(m_service.storeURLForStoreId(u"12", nullptr)->absoluteString(), "https://s.test/id12");
    EXPECT_EQ(m_requests, 2);

    // Downloads switched off by the data source: no request, the data source's short URL.
    m_dataSource.storeShortURLForStoreId = m_dataSource.storeURLForStoreId;
    EXPECT_EQ(m_service.storeShortURLForStoreId(u"12", &m_dataSource)->absoluteString(), "https://d.test/1");
    EXPECT_EQ(m_service.storeShortURLForStoreId(u"12", &m_dataSource)->absoluteString(), "https://d.test/1");
    EXPECT_EQ(m_dataSourceURLs, 2);
    EXPECT_EQ(m_requests, 2);
}

TEST_F(UserPublishing, GeneratedBody)
{
    auto body = KCUTF8FromUTF16(*m_service.bookInfoHTMLForStoreId(u"12", &m_dataSource));
    // The look-up class's store page wins over the data source's.
    EXPECT_NE(body.find("<a href=\"https://s.test/id12\">Moby-Dick</a>"), std::string::npos);
    EXPECT_NE(body.find("<!-- %%AUTHOR%% -->"), std::string::npos);  // no author: left in place
    EXPECT_EQ(body.find("<!-- %%CATEGORY%% -->"), std::string::npos);

    TearDown();
    m_dataSource.assetAuthorForStoreId = [](TNUserPublishing&, std::u16string_view) { return std::optional<std::u16string>(u"Herman Melville"); };
    m_dataSource.assetCategoryForStoreId = [](TNUserPublishing&, std::u16string_view) { return std::optional<std::u16string>(u"Sea"); };
    body = KCUTF8FromUTF16(*m_service.bookInfoHTMLForStoreId(u"12", &m_dataSource));
    EXPECT_NE(body.find("<a href=\"https://d.test/1\">Moby-Dick</a>"), std::string::npos);
    EXPECT_NE(body.find("by Herman Melville"), std::string::npos);
    EXPECT_NE(body.find("Category: Sea"), std::string::npos);
    EXPECT_EQ(body.find("<!-- %%"), std::string::npos);

    m_dataSource.isLocalGenerationEnabledForStoreId = [](TNUserPublishing&, std::u16string_view) { return false; };
    EXPECT_FALSE(m_service.bookInfoHTMLForStoreId(u"12", &m_dataSource));
}

} // namespace
