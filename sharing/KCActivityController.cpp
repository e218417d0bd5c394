#include "KCActivityController.h"

#include "Utilities/KCBundle.h"

#include <algorithm>

namespace {

bool contains(const std::vector<std::u16string>& list, std::u16string_view value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

}

KCActivityController::KCActivityController(PMSharingPlatform& platform, KCActivityItems activityItems, KCActivityItems applicationActivities)
    : m_platform(platform)
    , m_activityItems(std::move(activityItems))
    , m_applicationActivities(std::move(applicationActivities))
{
    if (m_platform.hasClassNamed(u"KCMenuViewController"))
        m_fallbackViewControllerClass = u"KCMenuViewController";
}

std::vector<std::u16string> KCActivityController::allActivityTypes()
{
    return {KCActivityTypePostToFacebook, KCActivityTypePostToTwitter, KCActivityTypePostToWeibo, KCActivityTypeMessage,
        KCActivityTypeMail, KCActivityTypePrint, KCActivityTypeCopyToPasteboard, KCActivityTypeAssignToContact,
        KCActivityTypeSaveToCameraRoll};
}

std::optional<KCActivityItems> KCActivityController::expandedActivityItemsFromActivityItems(const KCActivityItems& items, Protocol protocol)
{
    if (items.empty())
        return std::nullopt;
    KCActivityItems expanded;
    for (const KCActivityItemRef& item : items) {
        if (!item)
            continue;
        if (protocol(*item))
            expanded.push_back(item);
        // An item that is both is followed by its own expansion.
        if (auto expanding = std::dynamic_pointer_cast<KCActivityItemSourceExpanding>(item)) {
            if (auto more = expandedActivityItemsFromActivityItems(expanding->expandedItemProviders(), protocol))
                expanded.insert(expanded.end(), more->begin(), more->end());
        }
    }
    return expanded;
}

const std::optional<KCActivityItems>& KCActivityController::expandedActivityItems() const
{
    if (!m_expanded) {
        m_expandedActivityItems = expandedActivityItemsFromActivityItems(m_activityItems, &conformsTo<KCActivityItemSource>);
        m_expanded = true;
    }
    return m_expandedActivityItems;
}

std::vector<std::shared_ptr<KCActivityItemSource>> KCActivityController::p_itemSources() const
{
    std::vector<std::shared_ptr<KCActivityItemSource>> sources;
    if (const auto& items = expandedActivityItems()) {
        for (const KCActivityItemRef& item : *items)
            sources.push_back(std::dynamic_pointer_cast<KCActivityItemSource>(item));
    }
    return sources;
}

std::vector<std::u16string> KCActivityController::excludedActivityTypes() const
{
    std::vector<std::u16string> remaining = allActivityTypes();
    for (const auto& source : p_itemSources()) {
        for (const std::u16string& type : source->supportedActivityTypes())
            std::erase(remaining, type);
    }
    if (m_excludedActivityTypes.empty())
        return remaining;
    std::vector<std::u16string> excluded = m_excludedActivityTypes;
    excluded.insert(excluded.end(), remaining.begin(), remaining.end());
    return excluded;
}

PMSharingServices KCActivityController::sharingServicesRemovingExcludedServicesFromServices(const PMSharingServices& services) const
{
    std::vector<std::u16string> excluded = excludedActivityTypes();
    std::vector<std::u16string> all = allActivityTypes();
    PMSharingServices kept;
    for (const PMSharingServiceRef& service : services) {
        std::optional<std::u16string> name = service->name();
        if (name && contains(all, *name) && !contains(excluded, *name))
            kept.push_back(service);
    }
    return kept;
}

PMSharingServices KCActivityController::sharingServices()
{
    PMShareItems placeholders;
    for (const auto& source : p_itemSources()) {
        KCValue placeholder = source->activityViewControllerPlaceholderItem(this);
        if (!placeholder.isNull())
            placeholders.push_back(std::move(placeholder));
    }
    PMSharingServices services;
    for (const std::u16string& type : allActivityTypes()) {
        PMSharingServiceRef service = m_platform.sharingServiceNamed(type);
        if (service && service->canPerformWithItems(placeholders)) {
            service->setDelegate(this);
            services.push_back(std::move(service));
        }
    }
    return sharingServicesRemovingExcludedServicesFromServices(services);
}

PMSharingServicePicker KCActivityController::sharingServicePicker()
{
    PMShareItems items;
    if (const auto& expanded = expandedActivityItems())
        items.assign(expanded->begin(), expanded->end());
    return PMSharingServicePicker(std::move(items), this);
}

std::vector<PMMenuItemRef> KCActivityController::menuItems()
{
    std::vector<PMMenuItemRef> items;
    for (const PMSharingServiceRef& service : sharingServices()) {
        auto item = std::make_shared<PMMenuItem>(service->title(), [this](PMMenuItem& sender) { performShare(sender); }, u"");
        item->image = service->image();
        item->representedObject = service;
        items.push_back(std::move(item));
    }
    return items;
}

void KCActivityController::updateMenu(PMMenu& menu)
{
    menu.removeAllItems();
    for (PMMenuItemRef& item : menuItems())
        menu.addItem(std::move(item));
    if (menu.numberOfItems() == 0)
        menu.addItemWithTitle(KCCommonCoreBundle().localizedString(u"None"), {}, u"")->enabled = false;
}

void KCActivityController::performShare(PMMenuItem& sender)
{
    if (auto service = std::dynamic_pointer_cast<PMSharingService>(sender.representedObject))
        performShareWithService(*service);
}

void KCActivityController::performShareWithService(PMSharingService& service)
{
    std::optional<std::u16string> type = service.name();
    PMShareItems items;
    if (type) {
        std::vector<std::shared_ptr<KCActivityItemSource>> chosen;
        for (const auto& source : p_itemSources()) {
            if (contains(source->supportedActivityTypes(), *type)) {
                source->setActivityType(*type);
                chosen.push_back(source);
            }
        }
        for (const auto& source : chosen) {
            if (auto writer = std::dynamic_pointer_cast<PMPasteboardWriting>(source)) {
                items.push_back(std::shared_ptr<KCObject>(writer));
                continue;
            }
            KCValue item = source->itemForActivityType(this, *type);
            if (!item.isNull())
                items.push_back(std::move(item));
        }
    }
    service.performWithItems(items);
}

PMSharingServices KCActivityController::sharingServicesForItems(PMSharingServicePicker&, const PMShareItems&,
    const PMSharingServices& proposedServices)
{
    PMSharingServices services;
    for (const PMSharingServiceRef& proposed : sharingServicesRemovingExcludedServicesFromServices(proposedServices)) {
        services.push_back(m_platform.sharingServiceWithTitle(proposed->title(), proposed->image(), proposed->alternateImage(),
            [this, proposed] { performShareWithService(*proposed); }));
    }
    return services;
}

PMSharingServiceDelegate* KCActivityController::delegateForSharingService(PMSharingServicePicker&, PMSharingService&)
{
    return this;
}

std::shared_ptr<KCObject> KCActivityController::sourceWindowForShareItems(PMSharingService&, const PMShareItems&, PMSharingContentScope*)
{
    return m_platform.mainWindow();
}

void KCActivityController::willShareItems(PMSharingService& service, const PMShareItems&)
{
    std::optional<std::u16string> type = service.name();
    if (!type)
        return;
    for (const auto& source : p_itemSources()) {
        if (source->activityType() != *type)
            continue;
        // Only the first item serving the destination names the subject.
        if (source->subjectForActivityType)
            service.setSubject(source->subjectForActivityType(this, *type));
        return;
    }
}

void KCActivityController::didShareItems(PMSharingService& service, const PMShareItems& items)
{
    p_sharingServiceDidShareItems(service, items, true);
}

void KCActivityController::didFailToShareItems(PMSharingService& service, const PMShareItems& items, const KCError&)
{
    p_sharingServiceDidShareItems(service, items, false);
}

void KCActivityController::p_sharingServiceDidShareItems(PMSharingService& service, const PMShareItems& items, bool success)
{
    std::optional<std::u16string> type = service.name();
    if (type) {
        for (const auto& source : p_itemSources()) {
            if (source->activityType() == *type && source->didShareItems)
                source->didShareItems(this, items, success);
        }
    }
    if (m_completionHandler)
        m_completionHandler(type.value_or(u""), success);
}
