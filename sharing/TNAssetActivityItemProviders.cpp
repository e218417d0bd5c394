#include "TNAssetActivityItemProviders.h"

#include "Utilities/KCStringConversion.h"

std::vector<std::u16string> TNAssetTextActivityItemProvider::supportedActivityTypes() const
{
    if (!isStoreAsset())
        return {};
    return {KCActivityTypeMessage, KCActivityTypeCopyToPasteboard};
}

KCValue TNAssetTextActivityItemProvider::p_itemForSupportedActivityType(std::u16string_view)
{
    std::u16string text = checkOutBookWithShortCitationWithCharacterLimit(kNoCharacterLimit, false);
    if (p_hasStoreLink())
        text += TNFormatted(u"\n%@", {p_storeLinkString()});
    return text;
}

std::vector<std::u16string> TNAssetTwitterWeiboActivityItemProvider::supportedActivityTypes() const
{
    if (!isStoreAsset())
        return {};
    return {KCActivityTypePostToTwitter, KCActivityTypePostToWeibo};
}

uint64_t TNAssetTwitterWeiboActivityItemProvider::characterLimit()
{
    return p_hasStoreLink() ? 116 : 140;
}

KCActivityItems TNAssetTwitterWeiboActivityItemProvider::expandedItemProviders()
{
    return {p_blockProvider(kKCUTITypeText, [this] {
        std::u16string text = checkOutBookWithShortCitationWithCharacterLimit(characterLimit(), true);
        if (p_hasStoreLink())
            text += TNFormatted(u" %@", {p_storeLinkString()});
        return KCValue(text);
    })};
}

std::vector<std::u16string> TNAssetFacebookActivityItemProvider::supportedActivityTypes() const
{
    if (!isStoreAsset())
        return {};
    return {KCActivityTypePostToFacebook};
}

KCActivityItems TNAssetFacebookActivityItemProvider::expandedItemProviders()
{
    KCActivityItems providers {p_blockProvider(kKCUTITypeText, [this] {
        return KCValue(checkOutBookWithShortCitationWithCharacterLimit(kCharacterLimit, false));
    })};
    if (isStoreAsset()) {
        providers.push_back(p_blockProvider(kKCUTITypeURL, [this] {
            auto URL = storeUrlPreferShort();
            return URL ? KCValue(*URL) : KCValue();
        }));
    }
    return providers;
}

std::vector<std::u16string> TNAssetMailActivityItemProvider::supportedActivityTypes() const
{
    if (!isStoreAsset() && !isPDF())
        return {};
    return {KCActivityTypeMail};
}

KCActivityItems TNAssetMailActivityItemProvider::expandedItemProviders()
{
    if (isStoreAsset())
        return {std::make_shared<TNAssetHTMLActivityItemProvider>(propertySource())};
    if (isPDF())
        return {std::make_shared<TNAssetAttachmentActivityItemProvider>(propertySource())};
    return {};
}

std::vector<std::u16string> TNAssetAttachmentActivityItemProvider::supportedActivityTypes() const
{
    if (!isPDF())
        return {};
    return {KCActivityTypeMail};
}

KCValue TNAssetAttachmentActivityItemProvider::activityViewControllerPlaceholderItem(KCActivityController*)
{
    return KCActivityPlaceholderURL("kTNAssetAttachmentActivityItemProviderURLPlaceholder");
}

KCValue TNAssetAttachmentActivityItemProvider::p_itemForSupportedActivityType(std::u16string_view)
{
    auto URL = bookURL();
    return URL ? KCValue(*URL) : KCValue();
}

std::vector<std::u16string> TNAssetHTMLActivityItemProvider::supportedActivityTypes() const
{
    if (!isStoreAsset())
        return {};
    return {KCActivityTypeMail};
}

KCValue TNAssetHTMLActivityItemProvider::p_itemForSupportedActivityType(std::u16string_view)
{
    TNAssetHTMLGenerator generator;
    populateHTMLGenerator(generator);
    auto document = generator.documentString();
    return document ? KCValue(*document) : KCValue();
}

KCValue TNAssetHTMLActivityItemProvider::pasteboardPropertyListForType(std::u16string_view)
{
    return TNWebArchivePasteboardValue(*this);
}

KCValue TNWebArchivePasteboardValue(TNAssetActivityItemProviderSource& provider)
{
    auto path = provider.filePathByGeneratingWebArchive();
    return path ? KCValue(KCUTF16FromUTF8(*path)) : KCValue();
}
