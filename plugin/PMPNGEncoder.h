#pragma once
// PNG encoding of an engine image.
#include "platform/PMImage.h"
#include "Utilities/KCValue.h"

#include <optional>

// One PNG image; nothing (logged) for an image whose size and pixels do not agree.
std::optional<KCData> PMPNGDataFromImage(const PMImage& image);
