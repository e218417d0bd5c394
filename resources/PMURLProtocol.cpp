#include "PMURLProtocol.h"

#include "PMFileReading.h"
#include "Search/KCSearchFolding.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <algorithm>
#include <atomic>
#include <array>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>
#include <vector>

const char* const PMResourceMIMETypeKey = "mimeType";
const char* const PMResourceEncryptionAlgorithmKey = "encryptionAlgorithm";
const char* const PMResourceBookEpubIdKey = "bookEpubId";
const char* const PMResourceBookEpubIdWithUUIDSchemeKey = "bookEpubIdWithUUIDScheme";
const char16_t* const PMIDPFFontObfuscationAlgorithm = u"http://www.idpf.org/2008/embedding";
const char16_t* const PMAdobeFontObfuscationAlgorithm = u"http://ns.adobe.com/pdf/enc#RC";
const char* const PMPluginErrorMessage = "PluginError";

namespace {

constexpr uint64_t kKeyCompareFlags = KCCaseInsensitiveCompare | KCDiacriticInsensitiveCompare | KCWidthInsensitiveCompare;

// The resource data with its keys folded once, in the dictionary's order,
// for the insensitive look-up.
struct ResourceData {
    KCDictionary resources;
    std::vector<std::pair<std::u16string, const KCDictionary*>> foldedKeys;

    explicit ResourceData(KCDictionary copy) : resources(std::move(copy))
    {
        foldedKeys.reserve(resources.size());
        for (const auto& [key, value] : resources)
            foldedKeys.emplace_back(KCFoldForCompareFlags(KCUTF16FromUTF8(key), kKeyCompareFlags), value.dictionary());
    }
};

struct Configuration {
    std::shared_ptr<PMMessageConnection> connection;
    std::shared_ptr<const ResourceData> bookResourceData;
    std::optional<std::string> bookContentsPath;
    bool paginationMode = false;
};

// Loads take one consistent snapshot; the setters replace it whole.
std::atomic<std::shared_ptr<const Configuration>>& configuration()
{
    static std::atomic<std::shared_ptr<const Configuration>> current {std::make_shared<const Configuration>()};
    return current;
}

std::shared_ptr<const Configuration> currentConfiguration()
{
    return configuration().load(std::memory_order_acquire);
}

template <typename Change>
void updateConfiguration(Change change)
{
    auto current = currentConfiguration();
    std::shared_ptr<const Configuration> next;
    do {
        auto changed = std::make_shared<Configuration>(*current);
        change(*changed);
        next = std::move(changed);
    } while (!configuration().compare_exchange_weak(current, next, std::memory_order_acq_rel));
}

class Handler : public PMURLProtocolHandler {
public:
    bool canInitWithRequest(const PMURLRequest& request) const override { return PMURLProtocol::canInitWithRequest(request); }
    PMURLRequest canonicalRequestForRequest(const PMURLRequest& request) const override { return PMURLProtocol::canonicalRequestForRequest(request); }
    std::unique_ptr<PMCustomURLProtocol> protocolWithRequest(PMURLRequest request, std::shared_ptr<PMURLProtocolClient> client) const override
    {
        return std::make_unique<PMURLProtocol>(std::move(request), std::move(client));
    }
};

struct Registration {
    std::mutex lock;
    std::shared_ptr<Handler> handler;  // set while registered
};

Registration& registration()
{
    static Registration shared;
    return shared;
}

// The URL path without as many leading UTF-16 units as the contents path has.
std::string relativePathOf(const std::string& path, const std::string& contentsPath)
{
    if (path.starts_with(contentsPath))
        return path.substr(contentsPath.size());
    std::u16string units = KCUTF16FromUTF8(path);
    size_t drop = KCUTF16FromUTF8(contentsPath).size();
    if (drop > units.size())
        throw std::out_of_range("the URL path is shorter than the contents path");
    return KCUTF8FromUTF16(std::u16string_view(units).substr(drop));
}

// The information under the exact key, else under the first key that is the
// same text ignoring case, diacritics and width.
const KCDictionary* resourceInformation(const ResourceData* data, const std::string& relativePath)
{
    if (!data)
        return nullptr;
    if (const KCValue* exact = data->resources.find(relativePath))
        return exact->dictionary();
    std::u16string folded = KCFoldForCompareFlags(KCUTF16FromUTF8(relativePath), kKeyCompareFlags);
    for (const auto& [key, information] : data->foldedKeys) {
        if (key == folded)
            return information;
    }
    return nullptr;
}

std::optional<std::string> stringForKey(const KCDictionary* information, const char* key)
{
    const KCValue* value = information ? information->find(key) : nullptr;
    const std::u16string* text = value ? value->string() : nullptr;
    return text ? std::optional<std::string>(KCUTF8FromUTF16(*text)) : std::nullopt;
}

bool namesFontObfuscation(const KCDictionary* information)
{
    const KCValue* value = information ? information->find(PMResourceEncryptionAlgorithmKey) : nullptr;
    const std::u16string* algorithm = value ? value->string() : nullptr;
    return algorithm && (*algorithm == PMIDPFFontObfuscationAlgorithm || *algorithm == PMAdobeFontObfuscationAlgorithm);
}

} // namespace

void PMURLProtocol::registerPMURLProtocol()
{
    auto& shared = registration();
    std::lock_guard lock(shared.lock);
    if (shared.handler)
        return;
    shared.handler = std::make_shared<Handler>();
    PMURLProtocolRegistry::shared().registerHandler(shared.handler);
}

void PMURLProtocol::unregisterPMURLProtocol()
{
    auto& shared = registration();
    std::lock_guard lock(shared.lock);
    if (!shared.handler)
        return;
    PMURLProtocolRegistry::shared().unregisterHandler(shared.handler.get());
    shared.handler.reset();
}

bool PMURLProtocol::isRegistered()
{
    auto& shared = registration();
    std::lock_guard lock(shared.lock);
    return shared.handler != nullptr;
}

void PMURLProtocol::setConnection(std::shared_ptr<PMMessageConnection> connection)
{
    updateConfiguration([&](Configuration& configuration) { configuration.connection = std::move(connection); });
}

std::shared_ptr<PMMessageConnection> PMURLProtocol::connection()
{
    return currentConfiguration()->connection;
}

void PMURLProtocol::setBookResourceData(std::optional<KCDictionary> bookResourceData)
{
    auto copy = bookResourceData ? std::make_shared<const ResourceData>(std::move(*bookResourceData)) : nullptr;
    updateConfiguration([&](Configuration& configuration) { configuration.bookResourceData = std::move(copy); });
}

std::optional<KCDictionary> PMURLProtocol::bookResourceData()
{
    auto current = currentConfiguration();
    return current->bookResourceData ? std::optional<KCDictionary>(current->bookResourceData->resources) : std::nullopt;
}

void PMURLProtocol::setBookContentsPath(std::optional<std::string> bookContentsPath)
{
    updateConfiguration([&](Configuration& configuration) { configuration.bookContentsPath = std::move(bookContentsPath); });
}

std::optional<std::string> PMURLProtocol::bookContentsPath()
{
    return currentConfiguration()->bookContentsPath;
}

void PMURLProtocol::setPaginationMode(bool paginationMode)
{
    updateConfiguration([&](Configuration& configuration) { configuration.paginationMode = paginationMode; });
}

bool PMURLProtocol::paginationMode()
{
    return currentConfiguration()->paginationMode;
}

bool PMURLProtocol::canInitWithRequest(const PMURLRequest& request)
{
    if (!request.URL || !request.URL->isFileURL())
        return false;
    auto contentsPath = bookContentsPath();
    const std::string& path = request.URL->path();
    struct stat status {};
    return contentsPath && path.starts_with(*contentsPath) && ::stat(path.c_str(), &status) == 0;
}

void PMURLProtocol::startLoading()
{
    auto configuration = currentConfiguration();
    const std::optional<KCURL>& requestedURL = request().URL;
    if (!configuration->bookContentsPath) {
        KCLog("[PMURLPrococol startLoading]: nil contentsPath in startLoading");
        return;
    }
    if (!requestedURL) {
        KCLog("[PMURLPrococol startLoading]: nil requestedURL in startLoading");
        return;
    }
    try {
        std::string relativePath = relativePathOf(requestedURL->path(), *configuration->bookContentsPath);
        const KCDictionary* information = resourceInformation(configuration->bookResourceData.get(), relativePath);

        PMURLResponse response;
        response.URL = requestedURL;
        response.MIMEType = stringForKey(information, PMResourceMIMETypeKey);

        KCError readError;
        std::optional<KCData> data = PMReadWholeFile(requestedURL->path(), &readError);
        if (data && namesFontObfuscation(information))
            data = unencryptFontWithAssetInfo(*information, std::move(*data), *requestedURL);

        client()->didReceiveResponse(response, PMURLCacheStoragePolicy::NotAllowed);
        client()->didLoadData(data ? std::make_shared<const KCData>(std::move(*data)) : nullptr);
        client()->didFinishLoading();

        if (!data) {
            if (configuration->connection)
                configuration->connection->sendMessageWithName(PMPluginErrorMessage, KCValue::fromUTF8(readError.message));
            KCLog("[*] PMURLProtocol startLoading; error = %@", readError.description());
        }
    } catch (const std::exception& exception) {
        KCLog("[PMURLPrococol startLoading]: while trying to load URL: %@, we got exception: %@", *requestedURL, exception.what());
    }
}

bool PMURLProtocol::isImageMIMEType(std::string_view MIMEType)
{
    static constexpr std::array<std::string_view, 7> imageTypes {
        "image/jpeg", "image/png", "image/gif", "image/bmp", "image/vnd.microsoft.icon", "image/x-icon", "image/x-xbitmap"};
    return std::find(imageTypes.begin(), imageTypes.end(), MIMEType) != imageTypes.end();
}
