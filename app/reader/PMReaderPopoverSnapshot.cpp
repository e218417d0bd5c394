#include "PMReaderPopoverSnapshot.h"

namespace {

// Where the surface lies in its toplevel's surface.
graphene_point_t surfaceOrigin(GdkSurface* surface)
{
    if (!surface || !GDK_IS_POPUP(surface))
        return GRAPHENE_POINT_INIT(0, 0);
    graphene_point_t parent = surfaceOrigin(gdk_popup_get_parent(GDK_POPUP(surface)));
    return GRAPHENE_POINT_INIT(parent.x + static_cast<float>(gdk_popup_get_position_x(GDK_POPUP(surface))),
        parent.y + static_cast<float>(gdk_popup_get_position_y(GDK_POPUP(surface))));
}

// Where the native widget's origin lies in its toplevel's surface.
graphene_point_t widgetOrigin(GtkNative* native)
{
    double x = 0, y = 0;
    gtk_native_get_surface_transform(native, &x, &y);
    graphene_point_t surface = surfaceOrigin(gtk_native_get_surface(native));
    return GRAPHENE_POINT_INIT(surface.x + static_cast<float>(x), surface.y + static_cast<float>(y));
}

// Parents before the popovers they open.
void drawPopovers(GtkWidget* widget, const graphene_point_t& window, GtkSnapshot* snapshot)
{
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child)) {
        if (GTK_IS_POPOVER(child) && gtk_widget_get_mapped(child)) {
            graphene_point_t origin = widgetOrigin(GTK_NATIVE(child));
            GdkPaintable* paintable = gtk_widget_paintable_new(child);
            gtk_snapshot_save(snapshot);
            const graphene_point_t offset = GRAPHENE_POINT_INIT(origin.x - window.x, origin.y - window.y);
            gtk_snapshot_translate(snapshot, &offset);
            gdk_paintable_snapshot(paintable, snapshot, gtk_widget_get_width(child), gtk_widget_get_height(child));
            gtk_snapshot_restore(snapshot);
            g_object_unref(paintable);
        }
        drawPopovers(child, window, snapshot);
    }
}

} // namespace

void PMSnapshotOpenPopovers(GtkWidget* window, GtkSnapshot* snapshot)
{
    drawPopovers(window, widgetOrigin(GTK_NATIVE(window)), snapshot);
}
