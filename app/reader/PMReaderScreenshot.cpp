#include "PMReaderScreenshot.h"

#include <adwaita.h>

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

bool PMWriteWindowScreenshot(GtkWidget* window, const std::string& path)
{
    // The window's contents, not the window: a window's paintable takes in
    // the frame's shadow and would be drawn scaled into the window's size.
    GdkPaintable* paintable = gtk_widget_paintable_new(adw_window_get_content(ADW_WINDOW(window)));
    const int width = gdk_paintable_get_intrinsic_width(paintable);
    const int height = gdk_paintable_get_intrinsic_height(paintable);
    GtkSnapshot* snapshot = gtk_snapshot_new();
    // Under the contents, the window's background, as on screen.
    gtk_snapshot_render_background(snapshot, gtk_widget_get_style_context(window), 0, 0, width, height);
    gdk_paintable_snapshot(paintable, snapshot, width, height);
    drawPopovers(window, widgetOrigin(GTK_NATIVE(window)), snapshot);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    g_object_unref(paintable);
    bool written = false;
    if (node) {
        graphene_rect_t bounds = GRAPHENE_RECT_INIT(0, 0, static_cast<float>(width), static_cast<float>(height));
        GdkTexture* texture = gsk_renderer_render_texture(gtk_native_get_renderer(GTK_NATIVE(window)), node, &bounds);
        written = gdk_texture_save_to_png(texture, path.c_str());
        g_object_unref(texture);
        gsk_render_node_unref(node);
    }
    return written;
}
