#pragma once
// Turns a share's items into the platform's share menu and carries out the
// share the user picks: works out which destinations (activity types) the
// items support, offers the matching sharing services as services, a picker
// or menu items, resolves each item for the chosen destination, hands the
// results to the service and reports the outcome to the items and to the
// completion handler. Services, items and menus are used on the UI thread.
// Unknown services, services that cannot perform and items that answer null
// are skipped.
#include "KCActivityItemSource.h"

#include "platform/PMMenu.h"
#include "platform/PMSharingService.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class KCActivityController : public PMSharingServicePickerDelegate, public PMSharingServiceDelegate {
public:
    // Called with the service's name (empty for a service without one).
    using CompletionHandler = std::function<void(std::u16string_view activityType, bool success)>;
    // Whether an item adopts a protocol: KCActivityController::conformsTo<KCActivityItemSource>.
    using Protocol = bool (*)(const KCObject& item);
    template <typename P> static bool conformsTo(const KCObject& item) { return dynamic_cast<const P*>(&item) != nullptr; }

    // The platform is not owned. The services, pickers and menu items the
    // controller hands out call back into it: it must outlive them.
    KCActivityController(PMSharingPlatform& platform, KCActivityItems activityItems, KCActivityItems applicationActivities);
    KCActivityController(const KCActivityController&) = delete;
    KCActivityController& operator=(const KCActivityController&) = delete;

    const KCActivityItems& activityItems() const { return m_activityItems; }
    void setActivityItems(KCActivityItems items) { m_activityItems = std::move(items); }
    const KCActivityItems& applicationActivities() const { return m_applicationActivities; }
    void setApplicationActivities(KCActivityItems activities) { m_applicationActivities = std::move(activities); }
    const CompletionHandler& completionHandler() const { return m_completionHandler; }
    void setCompletionHandler(CompletionHandler handler) { m_completionHandler = std::move(handler); }
    // "KCMenuViewController" when the application has that class; only the
    // constructor sets it, so the setter does nothing.
    const std::optional<std::u16string>& fallbackViewControllerClass() const { return m_fallbackViewControllerClass; }
    void setFallbackViewControllerClass(std::optional<std::u16string>) {}
    // The caller's list first, then every type no expanded item supports.
    std::vector<std::u16string> excludedActivityTypes() const;
    void setExcludedActivityTypes(std::vector<std::u16string> types) { m_excludedActivityTypes = std::move(types); }
    // The item sources among the items and their expansions, computed on
    // first use and kept; nothing when there are no items.
    const std::optional<KCActivityItems>& expandedActivityItems() const;

    static std::vector<std::u16string> allActivityTypes();
    // The services of the nine types, in their order, that can perform with
    // the items' placeholders, less the excluded ones; each gets this
    // controller as its delegate.
    PMSharingServices sharingServices();
    PMSharingServicePicker sharingServicePicker();
    std::vector<PMMenuItemRef> menuItems();
    // Replaces the menu's items with menuItems, or a disabled "None" item.
    void updateMenu(PMMenu& menu);
    void performShare(PMMenuItem& sender);
    void performShareWithService(PMSharingService& service);

    PMSharingServices sharingServicesForItems(PMSharingServicePicker& picker, const PMShareItems& items,
        const PMSharingServices& proposedServices) override;
    PMSharingServiceDelegate* delegateForSharingService(PMSharingServicePicker& picker, PMSharingService& service) override;

    std::shared_ptr<KCObject> sourceWindowForShareItems(PMSharingService& service, const PMShareItems& items,
        PMSharingContentScope* scope) override;
    void willShareItems(PMSharingService& service, const PMShareItems& items) override;
    void didShareItems(PMSharingService& service, const PMShareItems& items) override;
    void didFailToShareItems(PMSharingService& service, const PMShareItems& items, const KCError& error) override;

    // The items that adopt the protocol, each followed by the expansion of
    // its expandedItemProviders when it is expanding; nothing for no items.
    static std::optional<KCActivityItems> expandedActivityItemsFromActivityItems(const KCActivityItems& items, Protocol protocol);
    // The services whose names are among the nine types and not excluded.
    PMSharingServices sharingServicesRemovingExcludedServicesFromServices(const PMSharingServices& services) const;

private:
    std::vector<std::shared_ptr<KCActivityItemSource>> p_itemSources() const;
    void p_sharingServiceDidShareItems(PMSharingService& service, const PMShareItems& items, bool success);

    PMSharingPlatform& m_platform;
    CompletionHandler m_completionHandler;
    std::optional<std::u16string> m_fallbackViewControllerClass;
    KCActivityItems m_activityItems;
    KCActivityItems m_applicationActivities;  // kept for the caller; not offered
    mutable std::optional<KCActivityItems> m_expandedActivityItems;
    mutable bool m_expanded = false;
    std::vector<std::u16string> m_excludedActivityTypes;
};
