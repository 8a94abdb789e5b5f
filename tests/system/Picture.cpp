#include "Picture.h"

#include <cairo.h>

#include <cstring>

namespace {

cairo_status_t takeBytes(void* rest, unsigned char* bytes, unsigned size) {
    auto* png = static_cast<std::string_view*>(rest);
    if (png->size() < size) {
        return CAIRO_STATUS_READ_ERROR;
    }
    memcpy(bytes, png->data(), size);
    png->remove_prefix(size);
    return CAIRO_STATUS_SUCCESS;
}

} // namespace

Picture Picture_read(std::string_view png) {
    cairo_surface_t* surface = cairo_image_surface_create_from_png_stream(takeBytes, &png);
    Picture picture{};
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
        picture.width = cairo_image_surface_get_width(surface);
        picture.height = cairo_image_surface_get_height(surface);
        const unsigned char* row = cairo_image_surface_get_data(surface);
        for (int y = 0; y < picture.height; ++y, row += cairo_image_surface_get_stride(surface)) {
            for (int x = 0; x < picture.width; ++x) {
                uint32_t pixel = 0;
                memcpy(&pixel, row + 4 * x, sizeof pixel);
                picture.pixels.push_back(pixel & 0xFFFFFFU);
            }
        }
    }
    cairo_surface_destroy(surface);
    return picture;
}
