// GTK's back end for browsers takes what the browser says from the main loop without GDK's lock,
// while another thread of the program may draw: both then use the one connection to the browser
// server, which ends the program. Here it takes the lock first. GTK's other back ends do so by
// themselves.

#include "NextFunction.h"

#include <gtk/gtk.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

namespace {

/// What is called with the lock held; kept for the life of the program, or until it has been
/// called.
struct Callback {
    GSourceFunc function;
    gpointer data;
};

using StreamCallback = gboolean (*)(GObject*, gpointer);

NextFunction<guint(gint, GSourceFunc, gpointer, GDestroyNotify)> nextIdle("g_idle_add_full");
NextFunction<GSource*(GPollableInputStream*, GCancellable*)>
    nextSource("g_pollable_input_stream_create_source");
NextFunction<void(GSource*, GSourceFunc, gpointer, GDestroyNotify)>
    nextSetCallback("g_source_set_callback");
NextFunction<void()> enterGdk("gdk_threads_enter");
NextFunction<void()> leaveGdk("gdk_threads_leave");

/// The source of the connection to the browser server.
std::atomic<GSource*> connection;

/// True for a call out of GDK's library in a program that shows itself in a browser.
bool isOfBrowserBackEnd(void* caller) {
    const char* const backEnd = getenv("GDK_BACKEND");
    Dl_info place{};
    return backEnd != nullptr && strcmp(backEnd, "broadway") == 0 && dladdr(caller, &place) != 0 &&
           place.dli_fname != nullptr && strstr(place.dli_fname, "libgdk-3") != nullptr;
}

Callback* withLock(GSourceFunc function, gpointer data) {
    auto* callback = static_cast<Callback*>(malloc(sizeof(Callback)));
    if (callback != nullptr) {
        *callback = {function, data};
    }
    return callback;
}

gboolean callLocked(gpointer context) {
    const Callback callback = *static_cast<Callback*>(context);
    enterGdk();
    const gboolean goesOn = callback.function(callback.data);
    leaveGdk();
    return goesOn;
}

gboolean callStreamLocked(GObject* stream, gpointer context) {
    const Callback callback = *static_cast<Callback*>(context);
    enterGdk();
    const auto function =
        reinterpret_cast<StreamCallback>(reinterpret_cast<void (*)()>(callback.function));
    const gboolean goesOn = function(stream, callback.data);
    leaveGdk();
    return goesOn;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

/// GDK's own way to add a function that is called with the lock gives a function that destroys its
/// data, its back end for browsers gives none.
guint g_idle_add_full(gint priority, GSourceFunc function, gpointer data, GDestroyNotify notify) {
    if (notify == nullptr && isOfBrowserBackEnd(__builtin_return_address(0))) {
        if (Callback* const callback = withLock(function, data)) {
            return nextIdle(priority, callLocked, callback, free);
        }
    }
    return nextIdle(priority, function, data, notify);
}

GSource* g_pollable_input_stream_create_source(GPollableInputStream* stream,
                                               GCancellable* cancellable) {
    GSource* const source = nextSource(stream, cancellable);
    if (isOfBrowserBackEnd(__builtin_return_address(0))) {
        connection = source;
    }
    return source;
}

void g_source_set_callback(GSource* source, GSourceFunc function, gpointer data,
                           GDestroyNotify notify) {
    if (source != nullptr && source == connection) {
        if (Callback* const callback = withLock(function, data)) {
            nextSetCallback(source, G_SOURCE_FUNC(callStreamLocked), callback, free);
            return;
        }
    }
    nextSetCallback(source, function, data, notify);
}

} // extern "C"
#pragma GCC visibility pop
