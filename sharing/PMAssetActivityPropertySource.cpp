#include "PMAssetActivityPropertySource.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

const char* const KCInvalidArgumentErrorDomain = "KCInvalidArgumentErrorDomain";

std::shared_ptr<PMAssetActivityPropertySource> PMAssetActivityPropertySource::init(KCError* error)
{
    std::string format = KCUTF8FromUTF16(KCCommonCoreBundle().localizedString(u"Please use the designated initializer -[%@ %@]"));
    std::string message = KCStringWithFormat(format, "PMAssetActivityPropertySource", "initWithAsset:");
    KCLog("%@", message);
    KCSetError(error, KCError(KCInvalidArgumentErrorDomain, 1, message));
    return nullptr;
}

std::shared_ptr<PMAssetActivityPropertySource> PMAssetActivityPropertySource::initWithAsset(PMActivityAssetRef asset)
{
    return std::make_shared<PMAssetActivityPropertySource>(Designated {}, std::move(asset));
}

PMActivityAssetRef PMAssetActivityPropertySource::asset() const
{
    std::lock_guard lock(m_lock);
    return m_asset;
}

void PMAssetActivityPropertySource::setAsset(PMActivityAssetRef asset)
{
    std::lock_guard lock(m_lock);
    m_asset = std::move(asset);
}

KCValue PMAssetActivityPropertySource::valueForProperty(std::u16string_view key, std::u16string_view) const
{
    PMActivityAssetRef book = asset();
    if (!book)
        return nullptr;
    std::optional<std::u16string> value;
    if (key == kTNAssetActivityItemProviderPropertyStoreId)
        value = book->assetID();
    else if (key == kTNAssetActivityItemProviderPropertyTitle)
        value = book->title();
    else if (key == kTNAssetActivityItemProviderPropertyAuthor)
        value = book->author();
    return value ? KCValue(std::move(*value)) : KCValue();
}

TNAssetActivityItemPropertySource PMAssetActivityPropertySource::propertySource()
{
    return [self = shared_from_this()](std::u16string_view activityType, std::u16string_view key) {
        return self->valueForProperty(key, activityType);
    };
}
