#pragma once
// Answers the extension's snapshot requests: the UI side holds the only
// snapshot call, so it draws the rendered document and crops and scales it
// to the requested document rectangle.
#include "Utilities/KCGeometry.h"
#include "Utilities/KCImage.h"
#include "Utilities/KCValue.h"

#include <optional>

typedef struct _GdkTexture GdkTexture;

// The rectangle of a full-document texture, scaled; nothing for an empty result.
std::optional<KCImage> PMImageFromTexture(GdkTexture* texture, const KCRect& rect, double scale);
// The reply body of a snapshot request: width, height, bytesPerRow, pixels.
KCValue PMSnapshotReplyBody(const std::optional<KCImage>& image);
