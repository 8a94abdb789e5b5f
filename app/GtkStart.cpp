#include "GtkStart.h"

#include "GdkLock.h"

#include <gtk/gtk.h>

#include <cstdlib>

namespace {

constexpr int dragThreshold_px = 300;

} // namespace

void GtkStart_initialize(int* argc, char*** argv) {
    GdkLock_initialize();
    gdk_disable_multidevice();
    gtk_disable_setlocale();
    constexpr int keepExisting = 0;
    setenv("NO_AT_BRIDGE", "1", keepExisting);
    // The instrument has no keyboard: the input method that needs no server is always right.
    constexpr int overwrite = 1;
    setenv("GTK_IM_MODULE", "gtk-im-context-simple", overwrite);
    // Nothing here is drawn by OpenGL, but a mere look for it loads its driver: 55 MB.
    setenv("GDK_GL", "disable", overwrite);
    gtk_init(argc, argv);
    g_object_set(gtk_settings_get_default(), "gtk-dnd-drag-threshold", dragThreshold_px, nullptr);
}
