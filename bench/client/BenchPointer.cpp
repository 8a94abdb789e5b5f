#include "BenchPointer.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <cairo-xlib.h>
#include <cairo.h>

#include <memory>

namespace {

constexpr unsigned long touch_ms = 30;

struct DisplayCloser {
    void operator()(Display* display) const {
        XCloseDisplay(display);
    }
};
using DisplayHandle = std::unique_ptr<Display, DisplayCloser>;

DisplayHandle openDisplay(const std::string& name, std::string& error) {
    DisplayHandle display(name.empty() ? nullptr : XOpenDisplay(name.c_str()));
    if (!display) {
        error = name.empty() ? "the program has no X screen (it runs in a browser?)"
                             : "cannot open the display " + name;
    }
    return display;
}

DisplayHandle openForTouch(const std::string& name, std::string& error) {
    DisplayHandle display = openDisplay(name, error);
    int ignored[4] = {};
    if (display && XTestQueryExtension(display.get(), &ignored[0], &ignored[1], &ignored[2],
                                       &ignored[3]) == 0) {
        error = "the display " + name + " cannot make test events";
        display.reset();
    }
    return display;
}

} // namespace

bool BenchPointer_tap(const std::string& display, int x, int y, std::string& error) {
    return BenchPointer_drag(display, x, y, x, y, error);
}

bool BenchPointer_drag(const std::string& display, int fromX, int fromY, int toX, int toY,
                       std::string& error) {
    const DisplayHandle handle = openForTouch(display, error);
    if (!handle) {
        return false;
    }
    XTestFakeMotionEvent(handle.get(), -1, fromX, fromY, CurrentTime);
    XTestFakeButtonEvent(handle.get(), 1, True, touch_ms);
    if (fromX != toX || fromY != toY) {
        XTestFakeMotionEvent(handle.get(), -1, toX, toY, touch_ms);
    }
    XTestFakeButtonEvent(handle.get(), 1, False, touch_ms);
    XSync(handle.get(), False);
    return true;
}

bool BenchPointer_savePicture(const std::string& display, const std::string& file,
                              std::string& error) {
    const DisplayHandle handle = openDisplay(display, error);
    if (!handle) {
        return false;
    }
    const int screen = DefaultScreen(handle.get());
    cairo_surface_t* surface = cairo_xlib_surface_create(
        handle.get(), RootWindow(handle.get(), screen), DefaultVisual(handle.get(), screen),
        DisplayWidth(handle.get(), screen), DisplayHeight(handle.get(), screen));
    const cairo_status_t status = cairo_surface_write_to_png(surface, file.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) {
        error = file + ": " + cairo_status_to_string(status);
    }
    return status == CAIRO_STATUS_SUCCESS;
}
