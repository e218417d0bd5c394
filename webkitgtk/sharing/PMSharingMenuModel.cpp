#include "PMSharingMenuModel.h"

#include "Utilities/KCStringConversion.h"

#include <string>

namespace {

std::string actionNameFor(const PMMenuItem& item, size_t index)
{
    auto service = std::dynamic_pointer_cast<PMSharingService>(item.representedObject);
    if (service && service->name()) {
        auto name = KCUTF8FromUTF16(*service->name());
        if (g_action_name_is_valid(name.c_str()))
            return name;
    }
    return "item-" + std::to_string(index);
}

std::string iconNameFor(const PMMenuItem& item)
{
    auto service = std::dynamic_pointer_cast<PMSharingService>(item.representedObject);
    return service ? service->iconName() : std::string();
}

}

PMSharingMenuModel PMSharingMenuModelFromMenu(const PMMenu& menu)
{
    PMSharingMenuModel model{g_menu_new(), g_simple_action_group_new()};
    size_t index = 0;
    for (auto& item : menu.itemArray()) {
        auto name = actionNameFor(*item, index++);
        GSimpleAction* action = g_simple_action_new(name.c_str(), nullptr);
        g_simple_action_set_enabled(action, item->enabled && item->action);
        auto* kept = new PMMenuItemRef(item);
        g_signal_connect_data(action, "activate", G_CALLBACK(+[](GSimpleAction*, GVariant*, PMMenuItemRef* item) {
            if ((*item)->action)
                (*item)->action(**item);
        }), kept, +[](gpointer data, GClosure*) { delete static_cast<PMMenuItemRef*>(data); }, GConnectFlags(0));
        g_action_map_add_action(G_ACTION_MAP(model.actions), G_ACTION(action));
        g_object_unref(action);

        GMenuItem* menuItem = g_menu_item_new(KCUTF8FromUTF16(item->title).c_str(), ("share." + name).c_str());
        if (auto icon = iconNameFor(*item); !icon.empty()) {
            GIcon* themed = g_themed_icon_new(icon.c_str());
            g_menu_item_set_icon(menuItem, themed);
            g_object_unref(themed);
        }
        g_menu_append_item(model.menu, menuItem);
        g_object_unref(menuItem);
    }
    return model;
}

GtkWidget* PMSharingPickerPopover(const PMSharingMenuModel& model)
{
    GtkWidget* popover = gtk_popover_menu_new_from_model(G_MENU_MODEL(model.menu));
    gtk_widget_insert_action_group(popover, "share", G_ACTION_GROUP(model.actions));
    return popover;
}
