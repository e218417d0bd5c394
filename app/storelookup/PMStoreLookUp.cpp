#include "PMStoreLookUp.h"

#include "PMHTTPClient.h"

#include "Sharing/KCURLAdditions.h"
#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCJSON.h"
#include "Utilities/KCStringConversion.h"

#include <cstdlib>
#include <thread>

const char* const PMStoreLookUpURLEnvironmentVariable = "PAGEMOOR_STORE_LOOKUP_URL";

namespace {

std::string escaped(std::u16string_view text)
{
    KCGCharPointer escapedText(g_uri_escape_string(KCUTF8FromUTF16(text).c_str(), nullptr, false));
    return escapedText.get();
}

std::string configuredLookUpURL()
{
    const char* configured = std::getenv(PMStoreLookUpURLEnvironmentVariable);
    return configured ? configured : "";
}

// One GET on a thread of its own; the block is dropped once cancelled.
class PMStoreLookUpRequest final : public TNUserPublishingLookUpRequest {
public:
    explicit PMStoreLookUpRequest(std::string url) : m_url(std::move(url)) {}

    void startWithLookupBlock(TNUserPublishingLookUpBlock block) override
    {
        double timeout = timeoutInterval > 0 ? timeoutInterval : kPMStoreLookUpLongestRequest;
        std::thread([url = m_url, timeout, cancellation = m_cancellation, block = std::move(block)] {
            KCError error;
            auto response = PMHTTPGet(url, timeout, cancellation.get(), &error);
            if (cancellation->isCancelled() || !block)
                return;
            if (!response)
                block(std::nullopt, error);
            else if (response->statusCode != 200)
                block(std::nullopt, KCError(PMHTTPErrorDomain, response->statusCode, "HTTP status " + std::to_string(response->statusCode)));
            else
                block(KCData(response->body.begin(), response->body.end()), std::nullopt);
        }).detach();
    }

    void cancel() override { m_cancellation->cancel(); }

private:
    std::string m_url;
    std::shared_ptr<PMHTTPCancellation> m_cancellation = std::make_shared<PMHTTPCancellation>();
};

} // namespace

std::string PMStoreLookUpRequestURL(std::string_view lookUpURL, const std::vector<std::u16string>& storeIds, std::string_view keyProfile)
{
    std::string url(lookUpURL);
    url += url.find('?') == std::string::npos ? "?id=" : "&id=";
    for (size_t index = 0; index < storeIds.size(); ++index)
        url += (index ? "," : "") + escaped(storeIds[index]);
    return url + "&profile=" + escaped(KCUTF16FromUTF8(keyProfile));
}

KCDictionary PMStoreLookUpResults(const KCData& response)
{
    KCJSON json = KCJSON::parse(response.begin(), response.end(), nullptr, false);
    if (json.is_discarded() || !json.is_object() || !json.contains("results") || !json["results"].is_object())
        return {};
    auto results = KCValueFromJSON(json["results"]);
    return results && results->dictionary() ? *results->dictionary() : KCDictionary();
}

std::optional<KCURL> PMStoreBookURL(std::u16string_view storeId)
{
    return KCURL::URLWithString("https://" + KCURLAdditions::storeHost() + "/book/id" + escaped(storeId));
}

void PMRegisterStoreLookUp()
{
    TNUserPublishingLookUpClass lookUpClass;
    lookUpClass.isEnabled = [] { return !configuredLookUpURL().empty(); };
    lookUpClass.bookURLForStoreId = PMStoreBookURL;
    lookUpClass.resultsDictionaryFromLookUpResponse = PMStoreLookUpResults;
    lookUpClass.create = [](std::vector<std::u16string> storeIds, std::string keyProfile) -> std::shared_ptr<TNUserPublishingLookUpRequest> {
        std::string lookUpURL = configuredLookUpURL();
        if (lookUpURL.empty())
            return nullptr;
        return std::make_shared<PMStoreLookUpRequest>(PMStoreLookUpRequestURL(lookUpURL, storeIds, keyProfile));
    };
    TNRegisterUserPublishingLookUpClass(kTNUserPublishingLookUpRequestClassName, std::move(lookUpClass));

    TNSetUserPublishingPageLoader([](const KCURL& url, double timeout, KCError* error) -> std::optional<TNUserPublishingPage> {
        auto response = PMHTTPGet(url.absoluteString(), timeout, nullptr, error);
        if (!response)
            return std::nullopt;
        return TNUserPublishingPage {response->statusCode, KCData(response->body.begin(), response->body.end())};
    });
}
