#include "ScreenPicture.h"

#include "GdkLock.h"
#include "message.h"

#include <gdk/gdkx.h>

namespace {

/// The fastest one: three quarters of the time of the usual 6, for a fifth more bytes.
constexpr char compressionLevel = '1';

/// Becomes null with the window. Under the GDK lock.
gpointer picturedWindow = nullptr;

struct SurfaceRelease {
    void operator()(cairo_surface_t* surface) const {
        cairo_surface_destroy(surface);
    }
};
using Pixels = std::unique_ptr<cairo_surface_t, SurfaceRelease>;

/// The window as GDK knows it, while it can be seen. What a browser shows is not known here.
GdkWindow* shownWindow() {
    GdkWindow* window =
        picturedWindow == nullptr ? nullptr : gtk_widget_get_window(GTK_WIDGET(picturedWindow));
    const bool isShown = window != nullptr && gdk_window_is_viewable(window) != FALSE;
    return isShown && GDK_IS_X11_WINDOW(window) ? window : nullptr;
}

/// In memory that the X server does not share, so that they may be released without the lock.
Pixels makePixels(GdkWindow* window) {
    const int scale = gdk_window_get_scale_factor(window);
    cairo_surface_t* pixels =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, gdk_window_get_width(window) * scale,
                                   gdk_window_get_height(window) * scale);
    cairo_surface_set_device_scale(pixels, scale, scale);
    return Pixels(pixels);
}

/// What was copied of the screen once counts as its pixels until cairo hears that others have
/// drawn.
void forgetOldPixels(cairo_t* cairo) {
    cairo_surface_t* screen = nullptr;
    if (cairo_pattern_get_surface(cairo_get_source(cairo), &screen) == CAIRO_STATUS_SUCCESS) {
        cairo_surface_mark_dirty(screen);
    }
}

/// Copies what the root window shows in the place of this one: all windows before it, too.
cairo_status_t copyPlace(GdkWindow* window, cairo_surface_t* pixels) {
    int x = 0;
    int y = 0;
    gdk_window_get_origin(window, &x, &y);
    cairo_t* cairo = cairo_create(pixels);
    gdk_cairo_set_source_window(cairo, gdk_screen_get_root_window(gdk_window_get_screen(window)),
                                -x, -y);
    forgetOldPixels(cairo);
    cairo_paint(cairo);
    const cairo_status_t status = cairo_status(cairo);
    cairo_destroy(cairo);
    return status;
}

ScpiPictureOutcome copyScreen(Pixels* pixels) {
    const ScopedGdkLock lock;
    GdkWindow* window = shownWindow();
    if (window == nullptr) {
        return ScpiPictureOutcome::noScreen;
    }
    *pixels = makePixels(window);
    const cairo_status_t status = copyPlace(window, pixels->get());
    if (status == CAIRO_STATUS_SUCCESS) {
        return ScpiPictureOutcome::taken;
    }
    DIAGNOSTIC("The screen cannot be copied: %s\n", cairo_status_to_string(status));
    return status == CAIRO_STATUS_NO_MEMORY ? ScpiPictureOutcome::noMemory
                                            : ScpiPictureOutcome::failed;
}

ScpiPictureOutcome outcomeOf(const GError* error) {
    return g_error_matches(error, GDK_PIXBUF_ERROR, GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY) != FALSE
               ? ScpiPictureOutcome::noMemory
               : ScpiPictureOutcome::failed;
}

/// As a PNG file.
ScpiPicture encode(GdkPixbuf* picture) {
    char key[] = "compression";
    char value[] = {compressionLevel, '\0'};
    char* keys[] = {key, nullptr};
    char* values[] = {value, nullptr};
    gchar* png = nullptr;
    gsize size = 0;
    GError* error = nullptr;
    if (gdk_pixbuf_save_to_bufferv(picture, &png, &size, "png", keys, values, &error) != FALSE) {
        return {ScpiPictureOutcome::taken, {png, g_free}, size};
    }
    DIAGNOSTIC("The picture cannot be encoded: %s\n", error->message);
    const ScpiPictureOutcome outcome = outcomeOf(error);
    g_error_free(error);
    return {outcome};
}

} // namespace

void ScreenPicture_register(GtkWindow* window) {
    picturedWindow = window;
    g_object_add_weak_pointer(G_OBJECT(window), &picturedWindow);
    ScpiScreenCommands_registerCamera(ScreenPicture_take);
}

ScpiPicture ScreenPicture_take() {
    Pixels pixels;
    const ScpiPictureOutcome outcome = copyScreen(&pixels);
    if (outcome != ScpiPictureOutcome::taken) {
        return {outcome};
    }
    GdkPixbuf* picture =
        gdk_pixbuf_get_from_surface(pixels.get(), 0, 0, cairo_image_surface_get_width(pixels.get()),
                                    cairo_image_surface_get_height(pixels.get()));
    if (picture == nullptr) {
        return {ScpiPictureOutcome::noMemory};
    }
    ScpiPicture result = encode(picture);
    g_object_unref(picture);
    return result;
}
