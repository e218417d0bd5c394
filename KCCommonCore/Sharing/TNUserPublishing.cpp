#include "TNUserPublishing.h"

#include "KCURLAdditions.h"
#include "TNHTMLText.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <glib.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>

const char16_t* const kEmailBodyPrefix = u"kEmailBodyPrefix~";
const char16_t* const kStoreURLPrefix = u"kStoreURLPrefix~";
const char16_t* const kStoreShortURLPrefix = u"kStoreShortURLPrefix~";
const char* const kTNUserPublishingLookProfileURL = "kTNUserPublishingLookProfileURL";
const char* const kTNUserPublishingLookProfileProduct = "kTNUserPublishingLookProfileProduct";
const char* const kTNUserPublishingLookProfileLockUp = "kTNUserPublishingLookProfileLockUp";
const char* const TNUserPublishingErrorDomain = "TNUserPublishingErrorDomain";
const char* const kTNUserPublishingServiceURLEnvironmentVariable = "PAGEMOOR_STORE_SERVICE_URL";

bool TNStoreIdHasNonZeroValue(std::u16string_view storeId)
{
    size_t at = storeId.find_first_not_of(u" \t\n");
    if (at != std::u16string_view::npos && (storeId[at] == u'+' || storeId[at] == u'-'))
        ++at;
    for (; at < storeId.size() && storeId[at] >= u'0' && storeId[at] <= u'9'; ++at) {
        if (storeId[at] != u'0')
            return true;
    }
    return false;
}

namespace {

// An optional switch of the data source: on when it does not answer.
bool switchIsOn(const TNUserPublishingDataSource::Operation<bool>& operation, TNUserPublishing& service, std::u16string_view storeId)
{
    return !operation || operation(service, storeId);
}

template <typename Result>
Result ask(const TNUserPublishingDataSource* dataSource, TNUserPublishingDataSource::Operation<Result> TNUserPublishingDataSource::*operation,
    TNUserPublishing& service, std::u16string_view storeId)
{
    if (!dataSource || !(dataSource->*operation))
        return Result();
    return (dataSource->*operation)(service, storeId);
}

size_t findIgnoringASCIICase(std::u16string_view text, std::u16string_view needle, size_t from)
{
    auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; };
    for (size_t at = from; at + needle.size() <= text.size(); ++at) {
        size_t matched = 0;
        while (matched < needle.size() && lower(text[at + matched]) == needle[matched])
            ++matched;
        if (matched == needle.size())
            return at;
    }
    return std::u16string_view::npos;
}

std::u16string format(std::u16string_view localizedFormat, std::u16string_view argument)
{
    return KCUTF16FromUTF8(KCStringWithFormat(KCUTF8FromUTF16(localizedFormat), argument));
}

std::string userPublishingServiceURL()
{
    const char* configured = std::getenv(kTNUserPublishingServiceURLEnvironmentVariable);
    if (configured && *configured)
        return configured;
    return "https://" + KCURLAdditions::storeHost() + "/userpublishing";
}

std::optional<TNUserPublishingLookUpClass> enabledLookUpClass()
{
    auto lookUpClass = TNUserPublishingLookUpClassNamed(kTNUserPublishingLookUpRequestClassName);
    if (!lookUpClass || !lookUpClass->isEnabled || !lookUpClass->isEnabled() || !lookUpClass->create)
        return std::nullopt;
    return lookUpClass;
}

} // namespace

std::optional<KCValue> TNUserPublishingCache::objectForKey(const std::u16string& key) const
{
    std::lock_guard lock(m_lock);
    auto found = m_entries.find(key);
    return found == m_entries.end() ? std::nullopt : std::optional<KCValue>(found->second);
}

void TNUserPublishingCache::setObject(KCValue value, const std::u16string& key)
{
    std::lock_guard lock(m_lock);
    m_entries[key] = std::move(value);
}

void TNUserPublishingCache::removeAllObjects()
{
    std::lock_guard lock(m_lock);
    m_entries.clear();
}

TNUserPublishing& TNUserPublishing::sharedInstance()
{
    static TNUserPublishing* shared = new TNUserPublishing;
    return *shared;
}

double TNUserPublishing::timeoutInterval() const
{
    std::lock_guard lock(m_lock);
    return m_timeoutInterval;
}

void TNUserPublishing::setTimeoutInterval(double seconds)
{
    std::lock_guard lock(m_lock);
    m_timeoutInterval = seconds;
}

std::shared_ptr<TNUserPublishingCache> TNUserPublishing::cache() const
{
    std::lock_guard lock(m_lock);
    return m_cache;
}

void TNUserPublishing::setCache(std::shared_ptr<TNUserPublishingCache> cache)
{
    std::lock_guard lock(m_lock);
    m_cache = cache ? std::move(cache) : std::make_shared<TNUserPublishingCache>();
}

std::u16string TNUserPublishing::p_keyForPrefix(std::u16string_view prefix, std::u16string_view storeId)
{
    return std::u16string(prefix) + std::u16string(storeId);
}

std::optional<KCURL> TNUserPublishing::cheapStoreURLForStoreId(std::u16string_view storeId) const
{
    auto lookUpClass = TNUserPublishingLookUpClassNamed(kTNUserPublishingLookUpRequestClassName);
    if (!lookUpClass || !lookUpClass->bookURLForStoreId)
        return std::nullopt;
    return lookUpClass->bookURLForStoreId(storeId);
}

std::optional<KCURL> TNUserPublishing::storeURLForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource)
{
    if (!TNStoreIdHasNonZeroValue(storeId))
        return std::nullopt;
    if (auto url = p_cachedOrDownloadedURL(kStoreURLPrefix, storeId, "url", dataSource))
        return url;
    return p_fallbackStoreURL(storeId, dataSource);
}

std::optional<KCURL> TNUserPublishing::storeShortURLForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource)
{
    if (!TNStoreIdHasNonZeroValue(storeId))
        return std::nullopt;
    if (auto url = p_cachedOrDownloadedURL(kStoreShortURLPrefix, storeId, "shortUrl", dataSource))
        return url;
    return ask(dataSource, &TNUserPublishingDataSource::storeShortURLForStoreId, *this, storeId);
}

std::optional<KCURL> TNUserPublishing::p_cachedOrDownloadedURL(std::u16string_view prefix, std::u16string_view storeId, const char* path,
    const TNUserPublishingDataSource* dataSource)
{
    std::u16string key = p_keyForPrefix(prefix, storeId);
    auto storeCache = cache();
    if (auto hit = storeCache->objectForKey(key); hit && hit->url())
        return *hit->url();
    auto url = p_downloadedStoreUrlForStoreId(storeId, kTNUserPublishingLookProfileURL, path, dataSource);
    if (url)
        storeCache->setObject(*url, key);
    return url;
}

std::optional<KCURL> TNUserPublishing::p_fallbackStoreURL(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource)
{
    if (auto url = cheapStoreURLForStoreId(storeId))
        return url;
    return ask(dataSource, &TNUserPublishingDataSource::storeURLForStoreId, *this, storeId);
}

std::optional<KCURL> TNUserPublishing::p_downloadedStoreUrlForStoreId(std::u16string_view storeId, const char* keyProfile, const char* path,
    const TNUserPublishingDataSource* dataSource)
{
    if (dataSource && !switchIsOn(dataSource->isDownloadEnabledForStoreId, *this, storeId))
        return std::nullopt;
    auto lookUpClass = enabledLookUpClass();
    if (!lookUpClass)
        return std::nullopt;
    auto request = lookUpClass->create({std::u16string(storeId)}, keyProfile);
    if (!request)
        return std::nullopt;

    // The block may outlive this call (it runs on the request's thread), so
    // everything it touches is its own.
    struct Slot {
        std::mutex lock;
        std::condition_variable signal;
        bool done = false;
        std::optional<KCURL> url;
    };
    auto slot = std::make_shared<Slot>();
    double timeout = timeoutInterval();
    request->timeoutInterval = timeout;
    request->startWithLookupBlock([slot, results = lookUpClass->resultsDictionaryFromLookUpResponse, id = KCUTF8FromUTF16(storeId),
                                      path = std::string(path)](std::optional<KCData> response, std::optional<KCError> error) {
        std::optional<KCURL> url;
        if (response) {
            KCDictionary records = results ? results(*response) : KCDictionary();
            const KCValue* record = records.find(id);
            const std::u16string* text = record ? (*record)[path].string() : nullptr;
            if (text && !text->empty())
                url = KCURL::URLWithString(KCUTF8FromUTF16(*text));
        } else {
            KCLog("Failed to get storeURL -- Error {%@}", error ? error->description() : std::string("(null)"));
        }
        std::lock_guard lock(slot->lock);
        slot->url = std::move(url);
        slot->done = true;
        slot->signal.notify_all();
    });

    std::unique_lock lock(slot->lock);
    auto nanoseconds = std::chrono::nanoseconds(int64_t(timeout * 1e9));
    if (!slot->signal.wait_for(lock, nanoseconds, [&] { return slot->done; })) {
        lock.unlock();
        request->cancel();
        return std::nullopt;
    }
    return slot->url;
}

std::optional<std::u16string> TNUserPublishing::bookInfoHTMLForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource)
{
    auto generated = [&]() -> std::optional<std::u16string> {
        return dataSource ? p_generatedEmailBodyForStoreId(storeId, dataSource) : std::nullopt;
    };
    if (!TNStoreIdHasNonZeroValue(storeId))
        return generated();
    std::u16string key = p_keyForPrefix(kEmailBodyPrefix, storeId);
    auto storeCache = cache();
    if (auto hit = storeCache->objectForKey(key); hit && hit->string())
        return *hit->string();
    if (auto downloaded = p_downloadedEmailBodyForStoreId(storeId, dataSource)) {
        storeCache->setObject(*downloaded, key);
        return downloaded;
    }
    return generated();
}

std::optional<std::u16string> TNUserPublishing::p_firstTableOfPage(std::u16string_view page)
{
    size_t start = findIgnoringASCIICase(page, u"<table", 0);
    if (start == std::u16string_view::npos || start + 6 >= page.size())
        return std::nullopt;
    size_t end = findIgnoringASCIICase(page, u"</table>", start);
    if (end == std::u16string_view::npos || end + 8 >= page.size())
        return std::nullopt;
    return std::u16string(page.substr(start, end + 8 - start));
}

std::optional<std::u16string> TNUserPublishing::p_downloadedEmailBodyForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource)
{
    if (dataSource && !switchIsOn(dataSource->isDownloadEnabledForStoreId, *this, storeId))
        return std::nullopt;
    auto page = p_downloadEmailContentForStoreId(storeId);
    return page ? p_firstTableOfPage(*page) : std::nullopt;
}

std::optional<std::u16string> TNUserPublishing::p_downloadEmailContentForStoreId(std::u16string_view storeId)
{
    auto url = p_downloadedStoreUrlForStoreId(storeId, kTNUserPublishingLookProfileProduct, "tellAFriendMessageContentsUrl", nullptr);
    if (!url) {
        KCGCharPointer id(g_uri_escape_string(KCUTF8FromUTF16(storeId).c_str(), nullptr, false));
        url = KCURL::URLWithString(userPublishingServiceURL() + "/tellAFriendEmailBody?displayable-kind=25&id=" + id.get());
    }
    auto loader = TNUserPublishingCurrentPageLoader();
    if (!url || !loader)
        return std::nullopt;
    KCError error;
    auto page = loader(*url, timeoutInterval(), &error);
    if (!page || page->statusCode != 200)
        return std::nullopt;
    std::string_view bytes(reinterpret_cast<const char*>(page->body.data()), page->body.size());
    if (!g_utf8_validate_len(bytes.data(), bytes.size(), nullptr)) {
        KCLog("The e-mail body page %@ is not UTF-8 text", url->absoluteString());
        return std::nullopt;
    }
    std::u16string text = KCUTF16FromUTF8(bytes);
    size_t html = text.find(u"<html");
    return html == std::u16string::npos ? text : text.substr(html);
}

std::optional<std::u16string> TNUserPublishing::p_generatedEmailBodyForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource)
{
    if (dataSource && !switchIsOn(dataSource->isLocalGenerationEnabledForStoreId, *this, storeId))
        return std::nullopt;
    auto bytes = KCCommonCoreBundle().resourceData("TNAssetInfo.html", "tmpl");
    if (!bytes || !g_utf8_validate_len(bytes->data(), bytes->size(), nullptr)) {
        KCLog("The e-mail body template TNAssetInfo.html.tmpl is missing or not UTF-8");
        return std::nullopt;
    }
    std::u16string body = KCUTF16FromUTF8(*bytes);
    auto author = ask(dataSource, &TNUserPublishingDataSource::assetAuthorForStoreId, *this, storeId).value_or(u"");
    auto title = ask(dataSource, &TNUserPublishingDataSource::assetTitleForStoreId, *this, storeId).value_or(u"");
    auto storeURL = p_fallbackStoreURL(storeId, dataSource);
    auto category = ask(dataSource, &TNUserPublishingDataSource::assetCategoryForStoreId, *this, storeId).value_or(u"");
    const KCBundle& bundle = KCCommonCoreBundle();

    if (!author.empty())
        TNReplaceTemplatePlaceholder(body, u"<!-- %%AUTHOR%% -->", format(bundle.localizedString(u"by %@"), author));
    if (!title.empty()) {
        std::u16string link = title;
        if (storeURL)
            link = KCUTF16FromUTF8(KCStringWithFormat("<a href=\"%@\">%@</a>", storeURL->absoluteString(), title));
        TNReplaceTemplatePlaceholder(body, u"<!-- %%TITLE%% -->", link);
    }
    TNReplaceTemplatePlaceholder(body, u"<!-- %%CATEGORY%% -->", category.empty() ? std::u16string() : format(bundle.localizedString(u"Category: %@"), category));
    return body;
}

void TNUserPublishing::productProfilesForStoreIDs(const std::vector<std::u16string>& storeIDs, TNUserPublishingProductProfilesCompletion completion)
{
    auto lookUpClass = enabledLookUpClass();
    auto request = lookUpClass ? lookUpClass->create(storeIDs, kTNUserPublishingLookProfileProduct) : nullptr;
    if (!request) {
        if (completion)
            completion(std::nullopt, KCError(TNUserPublishingErrorDomain, TNUserPublishingErrorCodeRequestDisabled, ""));
        return;
    }
    // The block keeps the request alive until it has answered.
    request->startWithLookupBlock([request, results = lookUpClass->resultsDictionaryFromLookUpResponse, completion](
                                      std::optional<KCData> response, std::optional<KCError>) mutable {
        TNUserPublishingProductProfiles profiles;
        if (response && results) {
            for (const auto& [storeId, record] : results(*response)) {
                if (auto profile = TNUserPublishingProductProfile::initWithProfileDictionary(record))
                    profiles.emplace(storeId, std::move(*profile));
            }
        }
        if (completion)
            completion(std::move(profiles), std::nullopt);
        request.reset();
    });
}
