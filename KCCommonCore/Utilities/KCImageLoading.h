#pragma once
// Reading image files: whatever the desktop's image loaders know (PNG, JPEG,
// GIF, BMP, ICO, SVG when its loader is installed; the first frame of an
// animation), made into a premultiplied RGBA image.
// Errors: ImageCreateWithURL answers nullptr, fills *error (KCImageErrorDomain)
// and logs when the file cannot be read or decoded.
#include "KCBitmap.h"
#include "KCError.h"
#include "KCURL.h"

extern const char* const KCImageErrorDomain;  // "KCImageErrorDomain"

enum class KCImageErrorCode : int64_t {
    CannotRead = 1,    // not a file location, or the file is missing or unreadable
    CannotDecode = 2,  // no loader knows the bytes, or they are damaged, or the image is too large
};

KCBitmapRef ImageCreateWithURL(const KCURL& url, KCError* error = nullptr);
