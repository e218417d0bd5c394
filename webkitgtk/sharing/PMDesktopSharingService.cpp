#include "PMDesktopSharingService.h"

#include "Utilities/KCLogger.h"

PMDesktopSharingService::PMDesktopSharingService(std::optional<std::u16string> name, std::u16string title,
    std::string iconName, CanPerform canPerform, Perform perform)
    : m_name(std::move(name)), m_title(std::move(title)), m_iconName(std::move(iconName)),
      m_canPerform(std::move(canPerform)), m_perform(std::move(perform))
{
}

void PMDesktopSharingService::setImages(PMSharingImageRef image, PMSharingImageRef alternateImage)
{
    m_image = image ? std::move(image) : std::make_shared<PMSharingImage>();
    m_alternateImage = alternateImage ? std::move(alternateImage) : std::make_shared<PMSharingImage>();
}

bool PMDesktopSharingService::canPerformWithItems(const PMShareItems& items)
{
    return m_canPerform(items);
}

void PMDesktopSharingService::performWithItems(const PMShareItems& items)
{
    if (m_delegate)
        m_delegate->willShareItems(*this, items);
    auto self = shared_from_this();
    m_perform(*this, items, [self, items](std::optional<KCError> error) {
        auto* delegate = self->m_delegate;
        if (error)
            KCLog("The share failed: %s", error->description().c_str());
        if (!delegate)
            return;
        if (error)
            delegate->didFailToShareItems(*self, items, *error);
        else
            delegate->didShareItems(*self, items);
    });
}
