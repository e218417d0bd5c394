#pragma once
// Images as the colour and drawing utilities pass them around: 8 bits per
// component, each pixel the four bytes R, G, B, A in memory with the colour
// premultiplied by alpha, rows of exactly width × 4 bytes from the top row
// down. An image is shared and never changes (KCBitmapRef, held by pointer so
// that "the same image" can be asked); a bitmap being drawn into or adjusted
// has one owner (std::unique_ptr<KCBitmap>) until it is handed on as an image.
// Errors: create and createWithSurface answer nullptr for sizes cairo cannot
// hold or a surface in error, BitmapContextCreateWithImage for no image;
// PNGData answers nothing and logs when encoding fails.
#include "KCGeometry.h"
#include "KCValue.h"

#include <cairo.h>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class KCBitmap;
using KCBitmapRef = std::shared_ptr<const KCBitmap>;

struct KCCairoSurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using KCCairoSurfacePointer = std::unique_ptr<cairo_surface_t, KCCairoSurfaceDeleter>;

class KCBitmap {
public:
    // The largest side cairo can draw.
    static constexpr int kMaximumSide = 32767;

    // A transparent bitmap; nullptr unless both sides are from 1 to kMaximumSide.
    static std::unique_ptr<KCBitmap> create(int width, int height);
    // The same, its bytes left as the allocator gives them: for a caller that
    // writes every byte before anything reads one.
    static std::unique_ptr<KCBitmap> createWithoutClearing(int width, int height);
    // A copy of a cairo ARGB32 image surface; nullptr for another format or a surface in error.
    static std::unique_ptr<KCBitmap> createWithSurface(cairo_surface_t* surface);

    int width() const { return m_width; }
    int height() const { return m_height; }
    size_t bytesPerRow() const { return static_cast<size_t>(m_width) * 4; }
    uint8_t* bytes() { return m_bytes.data(); }
    const uint8_t* bytes() const { return m_bytes.data(); }
    size_t byteCount() const { return m_bytes.size(); }

    // The pixels under a rectangle in pixel coordinates (y down from the top
    // row), widened to whole pixels and cut to the bitmap; nullptr when
    // nothing of the bitmap is left.
    std::unique_ptr<KCBitmap> subBitmap(const KCRect& pixelRect) const;
    // The same pixels as a cairo ARGB32 image surface, for drawing.
    KCCairoSurfacePointer cairoSurface() const;
    std::optional<KCData> PNGData() const;

private:
    // Value-initialises nothing: a new byte is whatever the memory held.
    template <typename T>
    struct UnclearedAllocator : std::allocator<T> {
        template <typename U>
        struct rebind {
            using other = UnclearedAllocator<U>;
        };
        template <typename U, typename... Arguments>
        void construct(U* at, Arguments&&... arguments)
        {
            if constexpr (sizeof...(Arguments) > 0)
                ::new (static_cast<void*>(at)) U(std::forward<Arguments>(arguments)...);
            else
                ::new (static_cast<void*>(at)) U;
        }
    };

    KCBitmap(int width, int height) : m_width(width), m_height(height), m_bytes(bytesPerRow() * static_cast<size_t>(height)) {}

    int m_width;
    int m_height;
    std::vector<uint8_t, UnclearedAllocator<uint8_t>> m_bytes;
};

// A bitmap holding a copy of the image, to be changed and handed on as an
// image of its own; nullptr for a null image.
std::unique_ptr<KCBitmap> BitmapContextCreateWithImage(const KCBitmap* image);
