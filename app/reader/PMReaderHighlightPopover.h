#pragma once
// The popover of a clicked highlight: its five colours and underline, its
// note (kept when the entry is activated) and Delete. Each choice goes to
// `changed` at once; the popover closes after a colour or Delete, and leaves
// its parent once closed. Answers the popover.
#include "PMReaderHighlights.h"

#include <functional>

#include <gtk/gtk.h>

GtkWidget* PMPresentHighlightPopover(GtkWidget* parent, const GdkRectangle& pointingTo, const PMHighlightStyle& current,
    std::function<void(const PMHighlightEdit&)> changed);
