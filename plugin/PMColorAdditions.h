#pragma once
// The plug-in's colour additions for the reader.
#include "Utilities/KCColor.h"

#include <cstdint>

// 0xRRGGBB, opaque, in device RGB; each component is computed in single
// precision, as the reader's colours are.
KCColor colorWithHexValue(uint64_t value);
