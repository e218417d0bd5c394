#include "resources/PMURLProtocol.h"

#include "Utilities/tests/KCTestFiles.h"
#include "testing/PMLogCapture.h"
#include "testing/PMRecordingMessageConnection.h"
#include "testing/PMRecordingURLProtocolClient.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using Callback = PMRecordingURLProtocolClient::Callback;

class PMURLProtocolTest : public testing::Test {
protected:
    void SetUp() override
    {
        fs::create_directories(m_root / "b" / "text");
        fs::create_directories(m_root / "bx");
        m_contents = (m_root / "b").string();
        write("b/text/ch1.xhtml", "<html/>");
        write("bx/y", "sibling");
        m_connection = std::make_shared<PMRecordingMessageConnection>();
        PMURLProtocol::setBookContentsPath(m_contents);
        PMURLProtocol::setConnection(m_connection);
        PMURLProtocol::setBookResourceData(KCDictionary {
            {"/text/ch1.xhtml", KCDictionary {{"mimeType", u"application/xhtml+xml"}}},
            {"x/y", KCDictionary {{"mimeType", u"text/plain"}}},
        });
    }
    void TearDown() override
    {
        PMURLProtocol::setBookContentsPath(std::nullopt);
        PMURLProtocol::setBookResourceData(std::nullopt);
        PMURLProtocol::setConnection(nullptr);
        PMURLProtocol::unregisterPMURLProtocol();
    }

    void write(const std::string& relative, const std::string& bytes) { KCWriteTestFile(m_scratch.file(relative), bytes); }
    PMURLRequest request(const std::string& relative) const
    {
        return PMURLRequest(KCURL::fileURLWithPath((m_root / relative).string()));
    }
    std::shared_ptr<PMRecordingURLProtocolClient> load(PMURLRequest request) const
    {
        auto client = std::make_shared<PMRecordingURLProtocolClient>();
        PMURLProtocol(std::move(request), client).startLoading();
        return client;
    }
    static std::string text(const std::shared_ptr<const KCData>& data)
    {
        return data ? std::string(data->begin(), data->end()) : "<none>";
    }

    KCScratchDirectory m_scratch;
    fs::path m_root = m_scratch.path();
    std::string m_contents;
    std::shared_ptr<PMRecordingMessageConnection> m_connection;
};

TEST_F(PMURLProtocolTest, ClaimsExistingFilesUnderTheContentsPathByPlainPrefix)
{
    EXPECT_TRUE(PMURLProtocol::canInitWithRequest(request("b/text/ch1.xhtml")));
    EXPECT_TRUE(PMURLProtocol::canInitWithRequest(request("b/text")));  // a directory exists too
    EXPECT_FALSE(PMURLProtocol::canInitWithRequest(request("b/text/missing.xhtml")));
    EXPECT_FALSE(PMURLProtocol::canInitWithRequest(PMURLRequest(KCURL::URLWithString("https://example.org" + m_contents + "/text/ch1.xhtml"))));
    EXPECT_FALSE(PMURLProtocol::canInitWithRequest(PMURLRequest()));
    // The prefix test is textual: a sibling folder sharing the prefix is claimed.
    EXPECT_TRUE(PMURLProtocol::canInitWithRequest(request("bx/y")));
    PMURLProtocol::setBookContentsPath((m_root / "b" / "text").string());
    EXPECT_FALSE(PMURLProtocol::canInitWithRequest(request("bx/y")));
    PMURLProtocol::setBookContentsPath(std::nullopt);
    EXPECT_FALSE(PMURLProtocol::canInitWithRequest(request("b/text/ch1.xhtml")));
}

TEST_F(PMURLProtocolTest, ServesTheFileWithTheThreeCallbacksInOrder)
{
    auto client = load(request("b/text/ch1.xhtml"));
    EXPECT_EQ(client->callbacks(), (std::vector<Callback> {Callback::Response, Callback::Data, Callback::Finished}));
    auto response = client->events()[0];
    EXPECT_EQ(response.policy, PMURLCacheStoragePolicy::NotAllowed);
    EXPECT_EQ(response.response.MIMEType, "application/xhtml+xml");
    EXPECT_EQ(response.response.expectedContentLength, -1);
    EXPECT_EQ(response.response.URL, request("b/text/ch1.xhtml").URL);
    EXPECT_FALSE(response.response.textEncodingName);
    EXPECT_EQ(text(client->loadedData()), "<html/>");
    EXPECT_TRUE(m_connection->sentMessages().empty());

    // The sibling's relative path has no leading slash.
    auto sibling = load(request("bx/y"));
    EXPECT_EQ(sibling->events()[0].response.MIMEType, "text/plain");
    EXPECT_EQ(text(sibling->loadedData()), "sibling");
}

TEST_F(PMURLProtocolTest, InsensitiveKeyFallbackTakesTheFirstKeyInOrder)
{
    write("b/text/Caf\u00E9.css", "p{}");
    write("b/text/style.css", "q{}");
    PMURLProtocol::setBookResourceData(KCDictionary {
        {"/TEXT/cafe\u0301.CSS", KCDictionary {{"mimeType", u"first"}}},  // decomposed accent
        {"/text/CAFE.css", KCDictionary {{"mimeType", u"second"}}},
        {"/text/\uFF53\uFF54\uFF59\uFF4C\uFF45.css", KCDictionary {{"mimeType", u"text/css"}}},  // full-width letters
    });
    auto accented = load(request("b/text/Caf\u00E9.css"));
    EXPECT_EQ(accented->events()[0].response.MIMEType, "first");
    EXPECT_EQ(load(request("b/text/style.css"))->events()[0].response.MIMEType, "text/css");

    // Case folding, not lower-casing: the final sigma of the file matches the key's capital.
    write("b/text/\u03BF\u03B4\u03BF\u03C2.css", "s{}");
    PMURLProtocol::setBookResourceData(KCDictionary {{"/text/\u039F\u0394\u039F\u03A3.css", KCDictionary {{"mimeType", u"text/css"}}}});
    EXPECT_EQ(load(request("b/text/\u03BF\u03B4\u03BF\u03C2.css"))->events()[0].response.MIMEType, "text/css");

    // No key matches: served as a plain file without a MIME type.
    write("b/text/other.css", "r{}");
    auto unknown = load(request("b/text/other.css"));
    EXPECT_FALSE(unknown->events()[0].response.MIMEType);
    EXPECT_EQ(text(unknown->loadedData()), "r{}");
}

TEST_F(PMURLProtocolTest, UnreadableFileAnswersWithoutDataAndReportsPluginError)
{
    PMLogCapture log;
    PMURLRequest chapter = request("b/text/ch1.xhtml");
    ASSERT_TRUE(PMURLProtocol::canInitWithRequest(chapter));
    fs::remove(m_root / "b/text/ch1.xhtml");  // gone between the claim and the load
    auto client = load(chapter);
    EXPECT_EQ(client->callbacks(), (std::vector<Callback> {Callback::Response, Callback::Data, Callback::Finished}));
    EXPECT_EQ(client->events()[0].response.MIMEType, "application/xhtml+xml");
    EXPECT_EQ(client->loadedData(), nullptr);
    auto errors = m_connection->sentMessagesNamed("PluginError");
    ASSERT_EQ(errors.size(), 1u);
    ASSERT_TRUE(errors[0].body.string());
    EXPECT_NE(errors[0].body.utf8String().find("ch1.xhtml"), std::string::npos);
    EXPECT_TRUE(log.contains("[*] PMURLProtocol startLoading; error = "));

    // A directory cannot be read either; without a connection only the log tells.
    PMURLProtocol::setConnection(nullptr);
    auto directory = load(request("b/text"));
    EXPECT_EQ(directory->loadedData(), nullptr);
    EXPECT_EQ(m_connection->sentMessages().size(), 1u);
}

TEST_F(PMURLProtocolTest, MissingConfigurationOrURLLeavesTheLoadUnanswered)
{
    PMLogCapture log;
    EXPECT_TRUE(load(PMURLRequest())->events().empty());
    EXPECT_TRUE(log.contains("[PMURLPrococol startLoading]: nil requestedURL in startLoading"));
    PMURLProtocol::setBookContentsPath(std::nullopt);
    EXPECT_TRUE(load(request("b/text/ch1.xhtml"))->events().empty());
    EXPECT_TRUE(log.contains("[PMURLPrococol startLoading]: nil contentsPath in startLoading"));

    // A URL shorter than the contents path was never claimed; it is logged, not answered.
    PMURLProtocol::setBookContentsPath(m_contents + "/a/much/longer/contents/path/than/the/url");
    EXPECT_TRUE(load(request("bx/y"))->events().empty());
    EXPECT_TRUE(log.contains("[PMURLPrococol startLoading]: while trying to load URL: file://"));
}

TEST_F(PMURLProtocolTest, RegistrationWithTheURLLoadingSystem)
{
    PMURLProtocol::registerPMURLProtocol();
    PMURLProtocol::registerPMURLProtocol();
    EXPECT_TRUE(PMURLProtocol::isRegistered());
    auto& registry = PMURLProtocolRegistry::shared();
    auto handler = registry.handlerForRequest(request("b/text/ch1.xhtml"));
    ASSERT_TRUE(handler);

    PMURLProtocol::unregisterPMURLProtocol();
    EXPECT_FALSE(PMURLProtocol::isRegistered());
    EXPECT_FALSE(registry.isRegistered(handler.get()));
    PMURLProtocol::unregisterPMURLProtocol();
}

TEST(PMURLProtocol, ImageMIMETypesAreComparedExactly)
{
    for (const char* type : {"image/jpeg", "image/png", "image/gif", "image/bmp", "image/vnd.microsoft.icon", "image/x-icon", "image/x-xbitmap"})
        EXPECT_TRUE(PMURLProtocol::isImageMIMEType(type)) << type;
    for (const char* type : {"image/svg+xml", "image/webp", "IMAGE/PNG", "image/png ", ""})
        EXPECT_FALSE(PMURLProtocol::isImageMIMEType(type)) << type;
}

} // namespace
