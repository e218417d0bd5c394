#pragma once
// The window's open popovers drawn over a snapshot of the window, where they
// stand on the screen: popovers are surfaces of their own, which a snapshot
// of the window leaves out.
#include <gtk/gtk.h>

// `snapshot` holds the window's own drawing at the window's origin.
void PMSnapshotOpenPopovers(GtkWidget* window, GtkSnapshot* snapshot);
