#include "PMReaderHighlightPopover.h"

#include <gtk/gtk.h>

namespace {

using Changed = std::function<void(const PMHighlightEdit&)>;

void tell(GtkWidget* widget, const PMHighlightEdit& edit, bool close)
{
    GtkWidget* popover = gtk_widget_get_ancestor(widget, GTK_TYPE_POPOVER);
    (*static_cast<Changed*>(g_object_get_data(G_OBJECT(popover), "changed")))(edit);
    if (close)
        gtk_popover_popdown(GTK_POPOVER(popover));
}

} // namespace

GtkWidget* PMPresentHighlightPopover(GtkWidget* parent, const GdkRectangle& pointingTo, const PMHighlightStyle& current, Changed changed,
    std::optional<PMSharingMenuModel> share)
{
    GtkWidget* popover = gtk_popover_new();
    g_object_set_data_full(G_OBJECT(popover), "changed", new Changed(std::move(changed)), [](gpointer data) { delete static_cast<Changed*>(data); });
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
    GtkWidget* colours = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4);
    const char* const names[] = {"Green", "Blue", "Yellow", "Pink", "Purple"};
    for (int style = 1; style <= 5; ++style) {
        GtkWidget* button = gtk_toggle_button_new_with_label(names[style - 1]);
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(button), style == current.style && !current.underline);
        g_object_set_data(G_OBJECT(button), "style", GINT_TO_POINTER(style));
        g_signal_connect(button, "clicked", G_CALLBACK(+[](GtkButton* button, gpointer) {
            tell(GTK_WIDGET(button), {GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "style")), false, std::nullopt, false}, true);
        }), nullptr);
        gtk_box_append(GTK_BOX(colours), button);
    }
    GtkWidget* underline = gtk_toggle_button_new_with_label("Underline");
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(underline), current.underline);
    g_signal_connect(underline, "toggled", G_CALLBACK(+[](GtkToggleButton* button, gpointer) {
        tell(GTK_WIDGET(button), {std::nullopt, gtk_toggle_button_get_active(button) != FALSE, std::nullopt, false}, false);
    }), nullptr);
    gtk_box_append(GTK_BOX(colours), underline);
    gtk_box_append(GTK_BOX(column), colours);

    GtkWidget* note = gtk_entry_new();
    gtk_entry_set_placeholder_text(GTK_ENTRY(note), "Note");
    gtk_editable_set_text(GTK_EDITABLE(note), current.note.value_or("").c_str());
    g_signal_connect(note, "activate", G_CALLBACK(+[](GtkEntry* entry, gpointer) {
        tell(GTK_WIDGET(entry), {std::nullopt, std::nullopt, std::string(gtk_editable_get_text(GTK_EDITABLE(entry))), false}, true);
    }), nullptr);
    gtk_box_append(GTK_BOX(column), note);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    if (share) {
        GtkWidget* shareButton = gtk_menu_button_new();
        gtk_menu_button_set_label(GTK_MENU_BUTTON(shareButton), "Share");
        gtk_menu_button_set_menu_model(GTK_MENU_BUTTON(shareButton), G_MENU_MODEL(share->menu));
        gtk_widget_insert_action_group(shareButton, "share", G_ACTION_GROUP(share->actions));
        g_object_unref(share->menu);
        g_object_unref(share->actions);
        gtk_box_append(GTK_BOX(buttons), shareButton);
        g_object_set_data(G_OBJECT(popover), "share", shareButton);
    }
    GtkWidget* remove = gtk_button_new_with_label("Delete");
    gtk_widget_add_css_class(remove, "destructive-action");
    gtk_widget_set_hexpand(remove, TRUE);
    gtk_widget_set_halign(remove, GTK_ALIGN_END);
    g_signal_connect(remove, "clicked", G_CALLBACK(+[](GtkButton* button, gpointer) {
        tell(GTK_WIDGET(button), {std::nullopt, std::nullopt, std::nullopt, true}, true);
    }), nullptr);
    gtk_box_append(GTK_BOX(buttons), remove);
    gtk_box_append(GTK_BOX(column), buttons);

    gtk_popover_set_child(GTK_POPOVER(popover), column);
    gtk_widget_set_parent(popover, parent);
    gtk_popover_set_pointing_to(GTK_POPOVER(popover), &pointingTo);
    g_signal_connect(popover, "closed", G_CALLBACK(+[](GtkPopover* closed, gpointer) {
        g_idle_add_once([](gpointer data) {
            if (gtk_widget_get_parent(GTK_WIDGET(data)))
                gtk_widget_unparent(GTK_WIDGET(data));
            g_object_unref(data);
        }, g_object_ref(closed));
    }), nullptr);
    gtk_popover_popup(GTK_POPOVER(popover));
    return popover;
}

GtkMenuButton* PMHighlightPopoverShareButton(GtkWidget* popover)
{
    return static_cast<GtkMenuButton*>(g_object_get_data(G_OBJECT(popover), "share"));
}
