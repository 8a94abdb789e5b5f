// GTK as the instrument starts it, on a server of this program's own.

#include "GtkStart.h"

#include "XServer.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>

TEST(GtkStart, LetsNoFingerStartADrag) {
    int threshold_px = 0;
    g_object_get(gtk_settings_get_default(), "gtk-dnd-drag-threshold", &threshold_px, nullptr);
    EXPECT_EQ(threshold_px, 300);
}

TEST(GtkStart, TakesTouchesForTheOnePointer) {
    // With several devices GTK would tell touches as such, which no key of the screens expects.
    GdkDevice* pointer =
        gdk_seat_get_pointer(gdk_display_get_default_seat(gdk_display_get_default()));
    EXPECT_STREQ(G_OBJECT_TYPE_NAME(pointer), "GdkX11DeviceCore");
}

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    if (!GTEST_FLAG_GET(list_tests)) {
        const std::string display = XServer_start();
        if (display.empty()) {
            fputs("cannot start Xvfb\n", stderr);
            return 1;
        }
        setenv("DISPLAY", display.c_str(), 1);
        setenv("GDK_BACKEND", "x11", 1);
        GtkStart_initialize(&count, &arguments);
    }
    return RUN_ALL_TESTS();
}
