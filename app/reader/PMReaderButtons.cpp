#include "PMReaderButtons.h"

GtkWidget* PMIconButton(const char* icon, const char* tooltip)
{
    GtkWidget* button = gtk_button_new_from_icon_name(icon);
    gtk_widget_set_tooltip_text(button, tooltip);
    return button;
}

GtkWidget* PMIconToggleButton(const char* icon, const char* tooltip)
{
    GtkWidget* button = gtk_toggle_button_new();
    gtk_button_set_icon_name(GTK_BUTTON(button), icon);
    gtk_widget_set_tooltip_text(button, tooltip);
    return button;
}
