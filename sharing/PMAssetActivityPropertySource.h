#pragma once
// The property source of a share of a book: answers the book's store id,
// title and author to the item providers, whatever the destination.
// Errors: init() refuses (there is no book to answer for), answering nullptr
// with a KCInvalidArgumentErrorDomain error naming initWithAsset, and logs.
#include "TNAssetActivityItemProviderProperties.h"

#include "Utilities/KCError.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

extern const char* const KCInvalidArgumentErrorDomain;  // "KCInvalidArgumentErrorDomain"

// The book being shared, as the property source reads it.
class PMActivityAsset {
public:
    virtual ~PMActivityAsset() = default;
    virtual std::optional<std::u16string> assetID() const = 0;
    virtual std::optional<std::u16string> title() const = 0;
    virtual std::optional<std::u16string> author() const = 0;
};
using PMActivityAssetRef = std::shared_ptr<const PMActivityAsset>;

class PMAssetActivityPropertySource : public std::enable_shared_from_this<PMAssetActivityPropertySource> {
    struct Designated {
        explicit Designated() = default;
    };

public:
    static std::shared_ptr<PMAssetActivityPropertySource> init(KCError* error = nullptr);
    static std::shared_ptr<PMAssetActivityPropertySource> initWithAsset(PMActivityAssetRef asset);
    PMAssetActivityPropertySource(Designated, PMActivityAssetRef asset) : m_asset(std::move(asset)) {}

    // Any thread may read and replace the book.
    PMActivityAssetRef asset() const;
    void setAsset(PMActivityAssetRef asset);

    // The store id, title or author of the book; null for any other key or
    // without a book.
    KCValue valueForProperty(std::u16string_view key, std::u16string_view activityType) const;
    // A property source for the item providers; it keeps this object alive.
    TNAssetActivityItemPropertySource propertySource();

private:
    mutable std::mutex m_lock;
    PMActivityAssetRef m_asset;
};
