#pragma once
// The reader window as drawn, into a PNG file: the window's contents at their
// own size on the window's background, with the open popovers drawn where
// they stand on the screen (popovers are surfaces of their own, which a
// snapshot of the window leaves out).
#include <gtk/gtk.h>

#include <string>

// False when the file cannot be written.
bool PMWriteWindowScreenshot(GtkWidget* window, const std::string& path);
