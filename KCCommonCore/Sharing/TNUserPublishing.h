#pragma once
// Store links for a book: its store URL, short URL and an e-mail body that
// presents it, looked up through the host's look-up class
// (TNUserPublishingLookUp.h), cached, with fallbacks the caller's data
// source supplies and a body generated locally from "TNAssetInfo.html.tmpl".
// The three look-ups block the calling thread up to timeoutInterval per
// look-up (plus the page fetch's own time-out): call them off the UI thread.
// Errors: look-ups answer nothing and log "Failed to get storeURL"; failures
// are never cached. productProfilesForStoreIDs answers the -1000 error when
// look-ups are disabled.
#include "TNUserPublishingLookUp.h"
#include "TNUserPublishingProductProfile.h"

#include "Utilities/KCImage.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

extern const char16_t* const kEmailBodyPrefix;      // u"kEmailBodyPrefix~"
extern const char16_t* const kStoreURLPrefix;       // u"kStoreURLPrefix~"
extern const char16_t* const kStoreShortURLPrefix;  // u"kStoreShortURLPrefix~"

extern const char* const kTNUserPublishingLookProfileURL;      // "kTNUserPublishingLookProfileURL"
extern const char* const kTNUserPublishingLookProfileProduct;  // "kTNUserPublishingLookProfileProduct"
extern const char* const kTNUserPublishingLookProfileLockUp;   // "kTNUserPublishingLookProfileLockUp"
extern const char* const TNUserPublishingErrorDomain;          // "TNUserPublishingErrorDomain"
constexpr int64_t TNUserPublishingErrorCodeRequestDisabled = -1000;

// Base of the e-mail body page's fallback endpoint; unset or empty:
// https://<store host>/userpublishing.
extern const char* const kTNUserPublishingServiceURLEnvironmentVariable;  // "PAGEMOOR_STORE_SERVICE_URL"

class TNUserPublishing;

// The integer a store ID starts with (after spaces and a sign) is not 0;
// empty and non-numeric IDs have none.
bool TNStoreIdHasNonZeroValue(std::u16string_view storeId);

// Every operation is optional: an empty one is not implemented. The two
// switches count as on when not implemented; the others then yield nothing.
struct TNUserPublishingDataSource {
    template <typename Result>
    using Operation = std::function<Result(TNUserPublishing&, std::u16string_view storeId)>;

    Operation<bool> isDownloadEnabledForStoreId;
    Operation<bool> isLocalGenerationEnabledForStoreId;
    Operation<std::optional<std::u16string>> assetAuthorForStoreId;
    Operation<std::optional<std::u16string>> assetTitleForStoreId;
    Operation<std::optional<std::u16string>> assetCategoryForStoreId;
    Operation<std::optional<KCImage>> assetCoverImageForStoreId;
    Operation<std::optional<KCURL>> storeURLForStoreId;
    Operation<std::optional<KCURL>> storeShortURLForStoreId;
};

// String keys to values, safe across threads.
class TNUserPublishingCache {
public:
    std::optional<KCValue> objectForKey(const std::u16string& key) const;
    void setObject(KCValue value, const std::u16string& key);
    void removeAllObjects();

private:
    mutable std::mutex m_lock;
    std::unordered_map<std::u16string, KCValue> m_entries;
};

using TNUserPublishingProductProfiles = std::map<std::string, TNUserPublishingProductProfile>;
using TNUserPublishingProductProfilesCompletion = std::function<void(std::optional<TNUserPublishingProductProfiles>, std::optional<KCError>)>;

class TNUserPublishing {
public:
    static TNUserPublishing& sharedInstance();

    std::optional<KCURL> storeURLForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource);
    std::optional<KCURL> storeShortURLForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource);
    // The e-mail body HTML.
    std::optional<std::u16string> bookInfoHTMLForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource);
    std::optional<KCURL> cheapStoreURLForStoreId(std::u16string_view storeId) const;
    // The completion runs on the look-up's thread, or at once when disabled.
    void productProfilesForStoreIDs(const std::vector<std::u16string>& storeIDs, TNUserPublishingProductProfilesCompletion completion);

    double timeoutInterval() const;
    void setTimeoutInterval(double seconds);
    std::shared_ptr<TNUserPublishingCache> cache() const;
    void setCache(std::shared_ptr<TNUserPublishingCache> cache);

    static std::u16string p_keyForPrefix(std::u16string_view prefix, std::u16string_view storeId);
    // The first "<table" ... "</table>" of a page; nothing when the page has
    // none or ends exactly with the "</table>".
    static std::optional<std::u16string> p_firstTableOfPage(std::u16string_view page);

private:
    TNUserPublishing() = default;

    std::optional<KCURL> p_cachedOrDownloadedURL(std::u16string_view prefix, std::u16string_view storeId, const char* path,
        const TNUserPublishingDataSource* dataSource);
    std::optional<KCURL> p_downloadedStoreUrlForStoreId(std::u16string_view storeId, const char* keyProfile, const char* path,
        const TNUserPublishingDataSource* dataSource);
    std::optional<std::u16string> p_downloadedEmailBodyForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource);
    std::optional<std::u16string> p_downloadEmailContentForStoreId(std::u16string_view storeId);
    std::optional<std::u16string> p_generatedEmailBodyForStoreId(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource);
    std::optional<KCURL> p_fallbackStoreURL(std::u16string_view storeId, const TNUserPublishingDataSource* dataSource);

    mutable std::mutex m_lock;  // guards the two settings
    double m_timeoutInterval = 2.0;
    std::shared_ptr<TNUserPublishingCache> m_cache = std::make_shared<TNUserPublishingCache>();
};
