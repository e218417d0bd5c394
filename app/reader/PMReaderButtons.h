// The header bar's buttons: an icon with its tooltip, plain or one that stays
// pressed while its panel or mode is on.
#pragma once

#include <gtk/gtk.h>

GtkWidget* PMIconButton(const char* icon, const char* tooltip);
GtkWidget* PMIconToggleButton(const char* icon, const char* tooltip);
