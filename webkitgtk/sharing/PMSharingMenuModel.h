#pragma once
// A share menu (platform/PMMenu.h) as GTK shows it: a GMenu whose items
// activate actions of the "share" group, one per menu item, named after the
// item's service ("share.KCActivityTypePrint"; "share.item-N" for a service
// without a usable name); each action runs its item's action. The picker is
// a popover over that menu.
#include "platform/PMMenu.h"

#include <gtk/gtk.h>

struct PMSharingMenuModel {
    GMenu* menu;                // owned: release with g_object_unref
    GSimpleActionGroup* actions;  // owned; insert it under the prefix "share"
};

// The menu keeps `menu`'s items alive as long as the action group lives.
PMSharingMenuModel PMSharingMenuModelFromMenu(const PMMenu& menu);

// A popover menu over the model, with the actions inserted; floating.
GtkWidget* PMSharingPickerPopover(const PMSharingMenuModel& model);
