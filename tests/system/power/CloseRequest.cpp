#include "CloseRequest.h"

#include <X11/Xlib.h>

#include <cstring>
#include <fstream>
#include <string>

namespace {

constexpr const char* mainWindowTitle = "8830K";

bool isMainWindow(Display* display, Window window) {
    char* name = nullptr;
    if (XFetchName(display, window, &name) == 0) {
        return false;
    }
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, window, &attributes);
    const bool isMain = attributes.map_state == IsViewable && strcmp(name, mainWindowTitle) == 0;
    XFree(name);
    return isMain;
}

bool sendDeleteWindow(Display* display, Window window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    return XSendEvent(display, window, False, NoEventMask, &event) != 0;
}

} // namespace

bool CloseRequest_send(Bench& bench, const char* speed) {
    if (!Bench_do(bench, std::string("clock speed ") + speed)) {
        return false;
    }
    std::string displayName;
    std::ifstream(bench.world + "/display") >> displayName;
    Display* display = XOpenDisplay(displayName.c_str());
    if (display == nullptr) {
        return false;
    }
    Window root = DefaultRootWindow(display);
    Window parent = 0;
    Window* windows = nullptr;
    unsigned count = 0;
    bool isSent = false;
    XQueryTree(display, root, &root, &parent, &windows, &count);
    for (unsigned index = 0; index < count && !isSent; ++index) {
        isSent = isMainWindow(display, windows[index]) && sendDeleteWindow(display, windows[index]);
    }
    XFree(windows);
    XCloseDisplay(display);
    return isSent;
}
