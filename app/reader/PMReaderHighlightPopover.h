#pragma once
// The popover of a clicked highlight: its five colours and underline, its
// note (kept when the entry is activated), its Share menu and Delete. Each
// choice goes to `changed` at once; the popover closes after a colour or
// Delete, and leaves its parent once closed. Answers the popover.
#include "PMReaderHighlights.h"
#include "sharing/PMSharingMenuModel.h"

#include <functional>

#include <gtk/gtk.h>

GtkWidget* PMPresentHighlightPopover(GtkWidget* parent, const GdkRectangle& pointingTo, const PMHighlightStyle& current,
    std::function<void(const PMHighlightEdit&)> changed, std::optional<PMSharingMenuModel> share = std::nullopt);
// The Share menu's button (the popover takes `share` over); nullptr without a share.
GtkMenuButton* PMHighlightPopoverShareButton(GtkWidget* popover);
