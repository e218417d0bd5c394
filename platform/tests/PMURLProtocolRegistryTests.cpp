#include "platform/PMURLProtocolRegistry.h"
#include "testing/PMRecordingURLProtocolClient.h"

#include <gtest/gtest.h>

namespace {

// Claims URLs of one scheme and answers with the scheme's name.
class SchemeHandler : public PMURLProtocolHandler {
public:
    explicit SchemeHandler(std::string scheme) : m_scheme(std::move(scheme)) {}
    bool canInitWithRequest(const PMURLRequest& request) const override { return request.URL && request.URL->scheme() == m_scheme; }
    PMURLRequest canonicalRequestForRequest(const PMURLRequest& request) const override
    {
        PMURLRequest canonical = request;
        canonical.HTTPHeaderFields.emplace_back("X-Canonical", m_scheme);
        return canonical;
    }
    std::unique_ptr<PMCustomURLProtocol> protocolWithRequest(PMURLRequest request, std::shared_ptr<PMURLProtocolClient> client) const override
    {
        class Load : public PMCustomURLProtocol {
        public:
            using PMCustomURLProtocol::PMCustomURLProtocol;
            void startLoading() override
            {
                PMURLResponse response;
                response.URL = request().URL;
                response.MIMEType = request().HTTPHeaderFields.back().second;
                client()->didReceiveResponse(response, PMURLCacheStoragePolicy::NotAllowed);
                client()->didFinishLoading();
            }
            void stopLoading() override {}
        };
        return std::make_unique<Load>(std::move(request), std::move(client));
    }

private:
    std::string m_scheme;
};

TEST(PMURLProtocolRegistry, LatestClaimingHandlerLoadsTheCanonicalRequest)
{
    PMURLProtocolRegistry registry;
    auto first = std::make_shared<SchemeHandler>("book");
    auto second = std::make_shared<SchemeHandler>("book");
    registry.registerHandler(first);
    registry.registerHandler(second);
    PMURLRequest request(KCURL::URLWithString("book:///a"));
    EXPECT_EQ(registry.handlerForRequest(request), second);

    auto client = std::make_shared<PMRecordingURLProtocolClient>();
    auto protocol = registry.startLoading(request, client);
    ASSERT_TRUE(protocol);
    using Callback = PMRecordingURLProtocolClient::Callback;
    EXPECT_EQ(client->callbacks(), (std::vector<Callback> {Callback::Response, Callback::Finished}));
    EXPECT_EQ(client->events()[0].response.MIMEType, "book");

    registry.unregisterHandler(second.get());
    EXPECT_FALSE(registry.isRegistered(second.get()));
    EXPECT_EQ(registry.handlerForRequest(request), first);
    registry.unregisterHandler(first.get());
    EXPECT_FALSE(registry.startLoading(request, client));
    EXPECT_FALSE(registry.startLoading(PMURLRequest(), client));
}

} // namespace
