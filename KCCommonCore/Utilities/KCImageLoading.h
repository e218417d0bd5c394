#pragma once
// Reading image files: whatever the desktop's image loaders know (PNG, JPEG,
// GIF, BMP, ICO, SVG when its loader is installed; the first frame of an
// animation), made into a premultiplied RGBA image.
// Images of more than KCImageMaximumPixels are refused before they are
// decoded, so that a small file cannot claim gigabytes.
// Errors: ImageCreateWithURL answers nullptr, fills *error (KCImageErrorDomain)
// and logs when the file cannot be read or decoded, or is too large.
#include "KCBitmap.h"
#include "KCError.h"
#include "KCURL.h"

extern const char* const KCImageErrorDomain;  // "KCImageErrorDomain"

enum class KCImageErrorCode : int64_t {
    CannotRead = 1,    // not a file location, or the file is missing or unreadable
    CannotDecode = 2,  // no loader knows the bytes, or they are damaged, or the image is too large
};

inline constexpr int64_t KCImageMaximumPixels = int64_t(1) << 26;  // 8192 x 8192

KCBitmapRef ImageCreateWithURL(const KCURL& url, KCError* error = nullptr);
