#include "PMRecordingSharingPlatform.h"

#include <algorithm>

PMRecordingSharingService::PMRecordingSharingService(std::optional<std::u16string> name, std::u16string title,
    PMSharingImageRef image, PMSharingImageRef alternateImage, std::function<void()> handler)
    : m_name(std::move(name))
    , m_title(std::move(title))
    , m_image(std::move(image))
    , m_alternateImage(std::move(alternateImage))
    , m_handler(std::move(handler))
{
}

bool PMRecordingSharingService::canPerformWithItems(const PMShareItems& items)
{
    canPerformRequests.push_back(items);
    return canPerform;
}

void PMRecordingSharingService::performWithItems(const PMShareItems& items)
{
    performedItems.push_back(items);
    if (m_handler)
        m_handler();
    if (!m_delegate)
        return;
    m_delegate->willShareItems(*this, items);
    if (outcome == Outcome::Success)
        m_delegate->didShareItems(*this, items);
    else
        m_delegate->didFailToShareItems(*this, items, KCError("PMRecordingSharingService", 1, "the share failed"));
}

PMRecordingSharingServiceRef PMRecordingSharingPlatform::addService(std::u16string name, bool canPerform)
{
    auto service = std::make_shared<PMRecordingSharingService>(name, name);
    service->canPerform = canPerform;
    m_services[std::move(name)] = service;
    return service;
}

PMSharingServiceRef PMRecordingSharingPlatform::sharingServiceNamed(std::u16string_view name)
{
    auto found = m_services.find(name);
    return found == m_services.end() ? nullptr : found->second;
}

PMSharingServiceRef PMRecordingSharingPlatform::sharingServiceWithTitle(std::u16string_view title, PMSharingImageRef image,
    PMSharingImageRef alternateImage, std::function<void()> handler)
{
    auto service = std::make_shared<PMRecordingSharingService>(std::nullopt, std::u16string(title), std::move(image),
        std::move(alternateImage), std::move(handler));
    madeServices.push_back(service);
    return service;
}

bool PMRecordingSharingPlatform::hasClassNamed(std::u16string_view name) const
{
    return std::find(classNames.begin(), classNames.end(), name) != classNames.end();
}
