#pragma once
// The pixels of a snapshot: an image of a document rectangle at a scale,
// filled piece by piece from textures that each cover part of the document.
// The engine draws at the display's device scale, so a texture's pixels per
// document point come from its size and the part it covers, never assumed 1.
#include "Utilities/KCGeometry.h"
#include "Utilities/KCImage.h"
#include "Utilities/KCValue.h"

#include <cstddef>
#include <optional>

typedef struct _GdkTexture GdkTexture;

// The largest snapshot, in pixels (4 bytes each: 512 MiB). A 600-point-wide
// chapter may be some 200,000 points tall at scale 1 before it is refused.
inline constexpr size_t PMSnapshotMaximumPixels = size_t(1) << 27;
// Cairo draws into images at most this many pixels wide.
inline constexpr int PMSnapshotMaximumWidth = 32767;

// A transparent image of ceil(rect.size * scale) pixels; nothing for a scale
// or size that cannot be drawn or an image past the limits above.
std::optional<KCImage> PMSnapshotCanvas(const KCRect& rect, double scale);

// Paints the part `band` (document points) of `rect` from `texture`, which
// shows the document rectangle `covered`. Pixels of the band outside
// `covered` continue the texture's edge pixels. Bands that share an edge
// meet on one pixel row or column without gap or overlap.
void PMDrawSnapshotTexture(KCImage& image, const KCRect& rect, double scale, GdkTexture* texture, const KCRect& covered, const KCRect& band);

// The reply body of a snapshot request: width, height, bytesPerRow; null for
// no image. The pixels (hundreds of megabytes for a long chapter) go beside
// it as a file in memory, which the web process reads at once instead of
// having them copied through the message.
KCValue PMSnapshotReplyBody(const std::optional<KCImage>& image);
// A memory file holding the image's pixels, or -1 (logged) when none can be made.
int PMSnapshotPixelFile(const KCImage& image);
