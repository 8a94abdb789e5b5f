// The picture that remote control sends: what the X server shows, taken under the GDK lock, encoded
// outside of it.
#include "ScreenPicture.h"

#include "GdkLock.h"
#include "MenuFixture.h"
#include "ScreenFixture.h"

#include <gmock/gmock.h>

#include <cstring>

namespace {

bool isLockedWhileCopying = false;
bool isLockedWhileEncoding = false;
cairo_status_t copyingFailure = CAIRO_STATUS_SUCCESS;
bool hasNoRoom = false;
GdkPixbufError encodingFailure{};
bool failsToEncode = false;

} // namespace

extern "C" {

cairo_surface_t* __real_cairo_image_surface_create(cairo_format_t, int, int);
GdkPixbuf* __real_gdk_pixbuf_get_from_surface(cairo_surface_t*, int, int, int, int);
gboolean __real_gdk_pixbuf_save_to_bufferv(GdkPixbuf*, gchar**, gsize*, const char*, char**, char**,
                                           GError**);
cairo_status_t __real_cairo_status(cairo_t*);

cairo_surface_t* __wrap_cairo_image_surface_create(cairo_format_t format, int width, int height) {
    isLockedWhileCopying = GdkLock_isHeld();
    return __real_cairo_image_surface_create(format, width, height);
}

cairo_status_t __wrap_cairo_status(cairo_t* cairo) {
    return copyingFailure != CAIRO_STATUS_SUCCESS ? copyingFailure : __real_cairo_status(cairo);
}

GdkPixbuf* __wrap_gdk_pixbuf_get_from_surface(cairo_surface_t* surface, int x, int y, int width,
                                              int height) {
    return hasNoRoom ? nullptr : __real_gdk_pixbuf_get_from_surface(surface, x, y, width, height);
}

gboolean __wrap_gdk_pixbuf_save_to_bufferv(GdkPixbuf* picture, gchar** buffer, gsize* size,
                                           const char* type, char** keys, char** values,
                                           GError** error) {
    isLockedWhileEncoding = GdkLock_isHeld();
    if (failsToEncode) {
        g_set_error(error, GDK_PIXBUF_ERROR, encodingFailure, "as the test wants it");
        return FALSE;
    }
    return __real_gdk_pixbuf_save_to_bufferv(picture, buffer, size, type, keys, values, error);
}
}

namespace {

class ScreenPictures : public Screens {
protected:
    static void SetUpTestSuite() {
        Menus_build();
        ScreenPicture_register(GTK_WINDOW(entireScreen.mainWindow));
    }
    void TearDown() override {
        copyingFailure = CAIRO_STATUS_SUCCESS;
        hasNoRoom = failsToEncode = false;
    }
    /// As a link's thread does, which holds no lock.
    static ScpiPicture take() {
        const ScopedGdkUnlock unlocked;
        return ScreenPicture_take();
    }
    static ScpiPictureOutcome outcome() {
        const ScpiPicture picture = take();
        EXPECT_EQ(picture.png == nullptr, picture.outcome != ScpiPictureOutcome::taken);
        return picture.outcome;
    }
};

GdkPixbuf* decoded(const ScpiPicture& picture) {
    GdkPixbufLoader* loader = gdk_pixbuf_loader_new_with_type("png", nullptr);
    EXPECT_TRUE(gdk_pixbuf_loader_write(loader, reinterpret_cast<const guchar*>(picture.png.get()),
                                        picture.size, nullptr));
    EXPECT_TRUE(gdk_pixbuf_loader_close(loader, nullptr));
    auto* pixels = GDK_PIXBUF(g_object_ref(gdk_pixbuf_loader_get_pixbuf(loader)));
    g_object_unref(loader);
    return pixels;
}

bool areEqual(const GdkPixbuf* one, const GdkPixbuf* other) {
    const int width = gdk_pixbuf_get_width(one);
    const int height = gdk_pixbuf_get_height(one);
    bool equal = gdk_pixbuf_get_width(other) == width && gdk_pixbuf_get_height(other) == height &&
                 gdk_pixbuf_get_n_channels(one) == gdk_pixbuf_get_n_channels(other);
    for (int y = 0; equal && y < height; ++y) {
        equal = memcmp(gdk_pixbuf_read_pixels(one) + y * gdk_pixbuf_get_rowstride(one),
                       gdk_pixbuf_read_pixels(other) + y * gdk_pixbuf_get_rowstride(other),
                       static_cast<size_t>(width * gdk_pixbuf_get_n_channels(one))) == 0;
    }
    return equal;
}

void expectTheScreen(const ScpiPicture& picture) {
    ASSERT_EQ(picture.outcome, ScpiPictureOutcome::taken);
    GdkPixbuf* shown = Gui_picture();
    GdkPixbuf* sent = decoded(picture);
    EXPECT_EQ(gdk_pixbuf_get_width(sent), 1024);
    EXPECT_EQ(gdk_pixbuf_get_height(sent), 768);
    EXPECT_TRUE(areEqual(sent, shown));
    g_object_unref(sent);
    g_object_unref(shown);
}

TEST_F(ScreenPictures, AreWhatTheXServerShowsEachTime) {
    Gui_showScreen(gtkSensorSingleChannel1);
    for (const float power_W : {25.0F, 1.0F, 300.0F}) {
        read(gtkSensorSingleChannel1, power_W, 0.5F);
        expectTheScreen(take());
    }
}

TEST_F(ScreenPictures, HoldTheLockForThePixelsAlone) {
    isLockedWhileCopying = false;
    isLockedWhileEncoding = true;
    EXPECT_EQ(outcome(), ScpiPictureOutcome::taken);
    EXPECT_TRUE(isLockedWhileCopying);
    EXPECT_FALSE(isLockedWhileEncoding);
}

TEST_F(ScreenPictures, AreNotTakenWhileNothingIsShown) {
    gtk_widget_hide(entireScreen.mainWindow);
    EXPECT_EQ(outcome(), ScpiPictureOutcome::noScreen);
    gtk_widget_show(entireScreen.mainWindow);
    Gui_settle();
    EXPECT_EQ(outcome(), ScpiPictureOutcome::taken);
}

TEST_F(ScreenPictures, AreNotTakenOfAWindowThatIsGone) {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    ScreenPicture_register(GTK_WINDOW(window));
    EXPECT_EQ(outcome(), ScpiPictureOutcome::noScreen) << "it has not been shown yet";
    gtk_widget_destroy(window);
    EXPECT_EQ(outcome(), ScpiPictureOutcome::noScreen);
    ScreenPicture_register(GTK_WINDOW(entireScreen.mainWindow));
    EXPECT_EQ(outcome(), ScpiPictureOutcome::taken);
}

TEST_F(ScreenPictures, SayWhyTheyFail) {
    copyingFailure = CAIRO_STATUS_NO_MEMORY;
    EXPECT_EQ(outcome(), ScpiPictureOutcome::noMemory);
    copyingFailure = CAIRO_STATUS_DEVICE_ERROR;
    EXPECT_EQ(outcome(), ScpiPictureOutcome::failed);
    copyingFailure = CAIRO_STATUS_SUCCESS;
    hasNoRoom = true;
    EXPECT_EQ(outcome(), ScpiPictureOutcome::noMemory);
    hasNoRoom = false;
    failsToEncode = true;
    encodingFailure = GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY;
    EXPECT_EQ(outcome(), ScpiPictureOutcome::noMemory);
    encodingFailure = GDK_PIXBUF_ERROR_BAD_OPTION;
    EXPECT_EQ(outcome(), ScpiPictureOutcome::failed);
}

} // namespace
