#include "ChargingPicture.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int wholePercent = 100;
constexpr int colourCount = 3;

/// A picture's pixels, three or four bytes each: red, green, blue, and how opaque they are.
struct Pixels {
    guchar* first;
    int width;
    int height;
    int stride;
    int channels;
};

Pixels pixelsOf(const GdkPixbuf* picture) {
    return {gdk_pixbuf_get_pixels(picture), gdk_pixbuf_get_width(picture),
            gdk_pixbuf_get_height(picture), gdk_pixbuf_get_rowstride(picture),
            gdk_pixbuf_get_n_channels(picture)};
}

guchar* pixelAt(const Pixels& pixels, int x, int y) {
    return &pixels.first[ptrdiff_t{y} * pixels.stride + ptrdiff_t{x} * pixels.channels];
}

bool isGreen(const guchar* pixel) {
    return pixel[1] > pixel[0] && pixel[1] > pixel[2];
}

/// Columns with green pixels; as many as none when there are none.
struct Span {
    int begin;
    int end;
};

Span greenColumns(const Pixels& pixels) {
    Span span{pixels.width, 0};
    for (int y = 0; y < pixels.height; ++y) {
        for (int x = 0; x < pixels.width; ++x) {
            if (isGreen(pixelAt(pixels, x, y))) {
                span = {std::min(span.begin, x), std::max(span.end, x + 1)};
            }
        }
    }
    return span;
}

} // namespace

GdkPixbuf* ChargingPicture_create(const GdkPixbuf* full, int charge_percent) {
    GdkPixbuf* picture = gdk_pixbuf_copy(full);
    if (picture == nullptr) {
        return nullptr;
    }
    const Pixels pixels = pixelsOf(picture);
    const Span green = greenColumns(pixels);
    const int level = green.begin + (green.end - green.begin) * charge_percent / wholePercent;
    for (int y = 0; y < pixels.height; ++y) {
        for (int x = level; x < green.end; ++x) {
            guchar* pixel = pixelAt(pixels, x, y);
            if (isGreen(pixel)) {
                std::fill_n(pixel, colourCount, guchar{0});
            }
        }
    }
    return picture;
}
