#include "sharing/KCActivityController.h"
#include "sharing/KCBlockActivityItemProvider.h"
#include "testing/PMRecordingSharingPlatform.h"

#include <gtest/gtest.h>

namespace {

using Types = std::vector<std::u16string>;

// An item source with fixed answers that records how it was told of shares.
class Source : public KCActivityItemSource {
public:
    Source(Types types, KCValue item, KCValue placeholder = u"placeholder")
        : types(std::move(types)), item(std::move(item)), placeholder(std::move(placeholder)) {}
    KCValue activityViewControllerPlaceholderItem(KCActivityController*) override { return placeholder; }
    KCValue itemForActivityType(KCActivityController*, std::u16string_view) override { return item; }
    Types supportedActivityTypes() const override { return types; }
    std::u16string activityType() const override { return type; }
    void setActivityType(std::u16string value) override { type = std::move(value); }

    Types types;
    KCValue item, placeholder;
    std::u16string type;
};

// A source that also stands for further items, counting its expansions.
class Expanding : public Source, public KCActivityItemSourceExpanding {
public:
    Expanding(Types types, KCActivityItems children) : Source(std::move(types), nullptr), children(std::move(children)) {}
    KCActivityItems expandedItemProviders() override { ++expansions; return children; }
    KCActivityItems children;
    int expansions = 0;
};

std::shared_ptr<Source> source(Types types, KCValue item = u"item") { return std::make_shared<Source>(std::move(types), std::move(item)); }

Types names(const PMSharingServices& services)
{
    Types result;
    for (const auto& service : services)
        result.push_back(service->name().value_or(u"(none)"));
    return result;
}

}

TEST(KCActivityController, ExpansionIsComputedOnceWithEachItemBeforeItsExpansion)
{
    PMRecordingSharingPlatform platform;
    EXPECT_FALSE(KCActivityController(platform, {}, {}).expandedActivityItems());

    auto child = source({KCActivityTypeMail});
    auto inner = std::make_shared<Expanding>(Types {KCActivityTypePrint}, KCActivityItems {child});
    auto outer = std::make_shared<Expanding>(Types {}, KCActivityItems {inner});
    auto plainObject = std::make_shared<KCObject>();
    KCActivityController controller(platform, {plainObject, outer}, {});
    KCActivityItems expected {outer, inner, child};
    EXPECT_EQ(*controller.expandedActivityItems(), expected);
    controller.setActivityItems({child});
    EXPECT_EQ(*controller.expandedActivityItems(), expected);
    EXPECT_EQ(outer->expansions, 1);
}

TEST(KCActivityController, ExcludedTypesPutTheCallersListFirst)
{
    Types all = KCActivityController::allActivityTypes();
    Types allButPasteboard = all;
    std::erase(allButPasteboard, KCActivityTypeCopyToPasteboard);
    Types printThenUnsupported {KCActivityTypePrint};
    printThenUnsupported.insert(printThenUnsupported.end(), allButPasteboard.begin(), allButPasteboard.end());
    struct Case {
        std::optional<Types> supported;
        Types callers;
        Types excluded;
    } cases[] = {
        {std::nullopt, {}, all},
        {Types {KCActivityTypeCopyToPasteboard}, {}, allButPasteboard},
        {Types {KCActivityTypeCopyToPasteboard}, {KCActivityTypePrint}, printThenUnsupported},
    };
    PMRecordingSharingPlatform platform;
    for (const Case& test : cases) {
        KCActivityItems items;
        if (test.supported)
            items.push_back(source(*test.supported));
        KCActivityController controller(platform, items, {});
        controller.setExcludedActivityTypes(test.callers);
        EXPECT_EQ(controller.excludedActivityTypes(), test.excluded);
    }
}

TEST(KCActivityController, ServicesThatCanPerformWithThePlaceholders)
{
    PMRecordingSharingPlatform platform;
    auto mail = platform.addService(KCActivityTypeMail);
    platform.addService(KCActivityTypeMessage, false);
    platform.addService(KCActivityTypePrint);
    platform.addService(KCActivityTypeCopyToPasteboard);  // no item supports it
    auto text = std::make_shared<KCBlockActivityItemProvider>(kKCUTITypeText, nullptr);
    text->setSupportedActivityTypes({KCActivityTypeMail, KCActivityTypeMessage, KCActivityTypePrint});
    auto silent = std::make_shared<Source>(Types {}, nullptr, nullptr);
    KCActivityController controller(platform, {text, silent}, {});

    EXPECT_EQ(names(controller.sharingServices()), (Types {KCActivityTypeMail, KCActivityTypePrint}));
    EXPECT_EQ(mail->canPerformRequests.back(), (PMShareItems {u"kPMBlockActivityItemProviderTextPlaceholder"}));
    EXPECT_EQ(mail->delegate(), &controller);
    EXPECT_FALSE(controller.fallbackViewControllerClass());
}

TEST(KCActivityController, PickerOffersRemadeServicesForTheAllowedOnes)
{
    PMRecordingSharingPlatform platform;
    platform.classNames = {u"KCMenuViewController"};
    auto mail = platform.addService(KCActivityTypeMail);
    auto print = platform.addService(KCActivityTypePrint);
    auto stranger = platform.addService(u"org.example.unknown");
    KCActivityController controller(platform, {source({KCActivityTypeMail, KCActivityTypePrint, u"org.example.unknown"})}, {});
    controller.setExcludedActivityTypes({KCActivityTypePrint});
    PMSharingServicePicker picker = controller.sharingServicePicker();
    ASSERT_EQ(picker.delegate(), &controller);
    EXPECT_EQ(picker.items().size(), 1u);

    PMSharingServices offered = picker.delegate()->sharingServicesForItems(picker, picker.items(), {mail, print, stranger});
    ASSERT_EQ(offered.size(), 1u);
    EXPECT_EQ(offered[0]->title(), mail->title());
    offered[0]->performWithItems({});
    EXPECT_EQ(mail->performedItems, (std::vector<PMShareItems> {{u"item"}}));
    EXPECT_EQ(controller.delegateForSharingService(picker, *mail), &controller);
    EXPECT_EQ(controller.fallbackViewControllerClass(), u"KCMenuViewController");
}

TEST(KCActivityController, PerformingAShareReportsItsOutcome)
{
    for (auto outcome : {PMRecordingSharingService::Outcome::Success, PMRecordingSharingService::Outcome::Failure}) {
        bool success = outcome == PMRecordingSharingService::Outcome::Success;
        PMRecordingSharingPlatform platform;
        auto mail = platform.addService(KCActivityTypeMail);
        mail->outcome = outcome;
        auto first = source({KCActivityTypeMail}, u"body");
        std::vector<bool> reported;
        first->subjectForActivityType = [](KCActivityController*, std::u16string_view type) { return std::u16string(type) + u" subject"; };
        first->didShareItems = [&](KCActivityController*, const PMShareItems&, bool ok) { reported.push_back(ok); };
        auto second = source({KCActivityTypeMail}, nullptr);
        second->subjectForActivityType = [](KCActivityController*, std::u16string_view) { return u"not asked"; };
        auto pasteboard = std::make_shared<KCBlockActivityItemProvider>(kKCUTITypeText, nullptr);
        pasteboard->setSupportedActivityTypes({KCActivityTypeMail});
        auto other = source({KCActivityTypePrint});
        KCActivityController controller(platform, {first, second, pasteboard, other}, {});
        std::vector<std::pair<std::u16string, bool>> completions;
        controller.setCompletionHandler([&](std::u16string_view type, bool ok) { completions.emplace_back(type, ok); });

        controller.sharingServices();
        controller.performShareWithService(*mail);
        EXPECT_EQ(mail->performedItems, (std::vector<PMShareItems> {{u"body", std::shared_ptr<KCObject>(pasteboard)}}));
        EXPECT_EQ(second->activityType(), KCActivityTypeMail);
        EXPECT_EQ(other->activityType(), u"");
        EXPECT_EQ(mail->subject(), std::u16string(KCActivityTypeMail) + u" subject");
        EXPECT_EQ(reported, std::vector<bool> {success});
        EXPECT_EQ(completions, (std::vector<std::pair<std::u16string, bool>> {{KCActivityTypeMail, success}}));
    }
}

TEST(KCActivityController, MenuItemsOrADisabledNone)
{
    PMRecordingSharingPlatform platform;
    auto print = platform.addService(KCActivityTypePrint);
    PMMenu menu;
    menu.addItemWithTitle(u"stale", {}, u"");

    KCActivityController sharing(platform, {source({KCActivityTypePrint})}, {});
    sharing.updateMenu(menu);
    ASSERT_EQ(menu.numberOfItems(), 1u);
    PMMenuItem& item = *menu.itemArray()[0];
    EXPECT_EQ(item.title, print->title());
    EXPECT_EQ(item.representedObject, print);
    item.action(item);
    EXPECT_EQ(print->performedItems.size(), 1u);

    KCActivityController empty(platform, {}, {});
    EXPECT_TRUE(empty.sharingServices().empty());
    empty.updateMenu(menu);
    ASSERT_EQ(menu.numberOfItems(), 1u);
    EXPECT_EQ(menu.itemArray()[0]->title, u"None");
    EXPECT_FALSE(menu.itemArray()[0]->enabled);
    EXPECT_FALSE(menu.itemArray()[0]->action);
}
