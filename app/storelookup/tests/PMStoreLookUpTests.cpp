#include "PMTestHTTPServer.h"
#include "storelookup/PMHTTPClient.h"
#include "storelookup/PMStoreLookUp.h"

#include "Sharing/KCURLAdditions.h"
#include "Sharing/TNUserPublishing.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace {

std::string parameter(const std::string& target, const std::string& name)
{
    size_t start = target.find(name + "=");
    if (start == std::string::npos)
        return "";
    start += name.size() + 1;
    return target.substr(start, target.find('&', start) - start);
}

// Store IDs choose what the server does: 404 fails everywhere, 7 never
// answers, and /page/<id> is the e-mail body page of the test below.
class StoreLookUp : public testing::Test {
protected:
    void SetUp() override
    {
        KCWriteTestFile(m_scratch.file("page.html"), "<table>followed</table>\n");
        setenv(PMStoreLookUpURLEnvironmentVariable, m_server.url("/lookup").c_str(), 1);
        setenv(kTNUserPublishingServiceURLEnvironmentVariable, m_server.url("/service").c_str(), 1);
        PMRegisterStoreLookUp();
        m_service.setCache(std::make_shared<TNUserPublishingCache>());
        m_service.setTimeoutInterval(2.0);
    }

    void TearDown() override
    {
        unsetenv(PMStoreLookUpURLEnvironmentVariable);
        unsetenv(kTNUserPublishingServiceURLEnvironmentVariable);
    }

    PMTestHTTPReply reply(const std::string& target)
    {
        std::string id = parameter(target, "id");
        if (target.find("404") != std::string::npos)
            return {404, "<html><table><tr><td>missing</td></tr></table>\n</html>"};
        if (id == "7")
            return {0};
        if (target.starts_with("/service/tellAFriendEmailBody?displayable-kind=25&id="))
            return {200, "<table>service</table>\n"};
        if (target.starts_with("/page/"))
            return page(target.substr(6));
        if (parameter(target, "profile") == kTNUserPublishingLookProfileURL)
            return {200, R"({"results": {")" + id + R"(": {"url": "https://shop.test/book/)" + id + R"(", "shortUrl": "https://s.test/)" + id + "\"}}}"};
        if (id == "1,2")
            return {200, R"({"results": {"1": {"artwork": [{"width": "600", "height": 900, "url": "https://img.test/600.jpg"}]}, "2": "not a record"}})"};
        if (id == "20")
            return {200, R"({"results": {"20": {}}})"};
        return {200, R"({"results": {")" + id + R"(": {"tellAFriendMessageContentsUrl": ")" + m_server.url("/page/" + id) + "\"}}}"};
    }

    PMTestHTTPReply page(const std::string& id)
    {
        if (id == "1")
            return {200, "<!doctype html>\n<html><body><p>Look:</p><TABLE class=\"b\"><tr><td>Hello</td></tr></Table><table>second</table>\n</body></html>"};
        if (id == "2")
            return {200, "<html><body><p>No table here.</p></body></html>\n"};
        if (id == "3")
            return {200, "<html><body><table><tr><td>x</td></tr></table>"};
        if (id == "5" || id == "55") {
            return {200, "<table>" + std::string(kPMHTTPMaximumBodySize, 'x') + "</table>\n", "", id == "5"};
        }
        if (id == "6")
            return {302, "", "Location: file://" + m_scratch.file("page.html") + "\r\n"};
        if (id == "8")
            return {200, "<table>\xff\xfe</table>\n"};
        return {404};
    }

    KCScratchDirectory m_scratch;
    PMTestHTTPServer m_server {[this](const std::string& target) { return reply(target); }};
    TNUserPublishing& m_service = TNUserPublishing::sharedInstance();
};

std::string text(const std::optional<KCURL>& url)
{
    return url ? url->absoluteString() : "(none)";
}

TEST_F(StoreLookUp, LookedUpURLsAreCachedAndFailuresAreNot)
{
    EXPECT_FALSE(m_service.storeURLForStoreId(u"0", nullptr));
    EXPECT_FALSE(m_service.storeURLForStoreId(u"abc", nullptr));
    EXPECT_EQ(text(m_service.storeURLForStoreId(u"1", nullptr)), "https://shop.test/book/1");
    EXPECT_EQ(text(m_service.storeURLForStoreId(u"1", nullptr)), "https://shop.test/book/1");
    EXPECT_EQ(text(m_service.storeShortURLForStoreId(u"1", nullptr)), "https://s.test/1");
    EXPECT_EQ(m_server.targets(), (std::vector<std::string> {"/lookup?id=1&profile=kTNUserPublishingLookProfileURL",
                                      "/lookup?id=1&profile=kTNUserPublishingLookProfileURL"}));

    // A failed look-up falls back to the store page, and asks again next time.
    std::string storePage = "https://" + KCURLAdditions::storeHost() + "/book/id404";
    EXPECT_EQ(text(m_service.storeURLForStoreId(u"404", nullptr)), storePage);
    EXPECT_EQ(text(m_service.storeURLForStoreId(u"404", nullptr)), storePage);
    EXPECT_EQ(m_server.targets().size(), 4u);
}

TEST_F(StoreLookUp, ASilentServerCostsTheTimeOut)
{
    auto start = std::chrono::steady_clock::now();
    auto url = m_service.storeURLForStoreId(u"7", nullptr);
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_EQ(text(url), "https://" + KCURLAdditions::storeHost() + "/book/id7");
    EXPECT_GE(seconds, 2.0);
    EXPECT_LT(seconds, 2.2);
}

TEST_F(StoreLookUp, EmailBodies)
{
    TNUserPublishingDataSource dataSource;
    dataSource.assetTitleForStoreId = [](TNUserPublishing&, std::u16string_view) { return std::optional<std::u16string>(u"Generated"); };
    struct Case {
        const char16_t* storeId;
        const char* body;  // empty: the generated one
    } cases[] = {
        {u"1", "<TABLE class=\"b\"><tr><td>Hello</td></tr></Table>"},
        {u"2", ""},       // no table
        {u"3", ""},       // ends exactly with "</table>"
        {u"404", ""},     // status 404, with a table
        {u"5", ""},       // over 4 MiB, announced
        {u"55", ""},      // over 4 MiB, not announced
        {u"6", ""},       // redirect to a file
        {u"8", ""},       // not UTF-8
        {u"20", "<table>service</table>"},  // no page in the record: the service's endpoint
    };
    for (const auto& [storeId, body] : cases) {
        auto html = m_service.bookInfoHTMLForStoreId(storeId, &dataSource);
        ASSERT_TRUE(html) << KCUTF8FromUTF16(storeId);
        if (*body)
            EXPECT_EQ(KCUTF8FromUTF16(*html), body) << KCUTF8FromUTF16(storeId);
        else
            EXPECT_NE(html->find(u"Generated"), std::u16string::npos) << KCUTF8FromUTF16(storeId);
    }
    size_t requests = m_server.targets().size();
    EXPECT_TRUE(m_service.bookInfoHTMLForStoreId(u"1", nullptr));
    EXPECT_EQ(m_server.targets().size(), requests);
}

TEST_F(StoreLookUp, ProductProfiles)
{
    auto profiles = [&] {
        std::promise<std::pair<std::optional<TNUserPublishingProductProfiles>, std::optional<KCError>>> answer;
        m_service.productProfilesForStoreIDs({u"1", u"2"}, [&](auto profiles, auto error) { answer.set_value({profiles, error}); });
        return answer.get_future().get();
    };
    auto [found, error] = profiles();
    ASSERT_TRUE(found);
    EXPECT_FALSE(error);
    ASSERT_EQ(found->size(), 1u);
    EXPECT_EQ(text(found->at("1").urlForCoverImageOfSize({})), "https://img.test/600.jpg");

    unsetenv(PMStoreLookUpURLEnvironmentVariable);
    auto [none, disabled] = profiles();
    EXPECT_FALSE(none);
    ASSERT_TRUE(disabled);
    EXPECT_EQ(disabled->domain, TNUserPublishingErrorDomain);
    EXPECT_EQ(disabled->code, TNUserPublishingErrorCodeRequestDisabled);
}

} // namespace
