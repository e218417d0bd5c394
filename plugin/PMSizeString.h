#pragma once
// Sizes as text, the way the platform writes them: "{width, height}". The
// UI process sends the requested snapshot size in this form.
#include "Utilities/KCGeometry.h"

#include <string>
#include <string_view>

// "{200, 300}", "{200.5, 0.25}": each number in its shortest exact form.
std::string PMStringFromSize(const KCSize& size);
// Reads the first two numbers in order; a missing one reads as 0, so text
// that is not a size gives {0, 0}.
KCSize PMSizeFromString(std::string_view text);
