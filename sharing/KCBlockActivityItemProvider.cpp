#include "KCBlockActivityItemProvider.h"

#include "Utilities/KCStringConversion.h"

#include <algorithm>

KCBlockActivityItemProvider::KCBlockActivityItemProvider(std::u16string UTI, ResolutionBlock resolutionBlock)
    : m_UTI(std::move(UTI))
    , m_resolutionBlock(std::move(resolutionBlock))
{
}

KCValue KCBlockActivityItemProvider::activityViewControllerPlaceholderItem(KCActivityController*)
{
    if (m_UTI == kKCUTITypeText)
        return u"kPMBlockActivityItemProviderTextPlaceholder";
    if (m_UTI == kKCUTITypeImage)
        return std::make_shared<PMSharingImage>();
    if (m_UTI == kKCUTITypeURL)
        return KCActivityPlaceholderURL("kPMBlockActivityItemProviderURLPlaceholder");
    return nullptr;
}

KCValue KCBlockActivityItemProvider::itemForActivityType(KCActivityController*, std::u16string_view activityType)
{
    if (!m_resolutionBlock || std::find(m_supportedActivityTypes.begin(), m_supportedActivityTypes.end(), activityType) == m_supportedActivityTypes.end())
        return nullptr;
    return m_resolutionBlock(activityType);
}

KCValue KCBlockActivityItemProvider::pasteboardPropertyListForType(std::u16string_view type)
{
    if (!m_resolutionBlock)
        return nullptr;
    // The pasteboard type itself goes to the block, not an activity type.
    KCValue value = m_resolutionBlock(type);
    if (const KCURL* url = value.url())
        return KCUTF16FromUTF8(url->absoluteString());
    return value;
}
