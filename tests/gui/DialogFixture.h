#ifndef TESTS_GUI_DIALOG_FIXTURE_H
#define TESTS_GUI_DIALOG_FIXTURE_H

#include "OtherResources.h"
#include "ScreenFixture.h"
#include "ScreenSize.h"

#include <cstdlib>
#include <string>

/// What the tests of all dialogs ask.

/// The dialog of this name while it is on the screen, else null.
inline GtkWidget* Dialog_shown(const std::string& name) {
    GtkWidget* found = nullptr;
    GList* windows = gtk_window_list_toplevels();
    for (GList* one = windows; one != nullptr; one = one->next) {
        auto* window = static_cast<GtkWidget*>(one->data);
        if (name == gtk_widget_get_name(window) && gtk_widget_get_mapped(window)) {
            found = window;
        }
    }
    g_list_free(windows);
    return found;
}

/// Keeps a picture of the screen where the environment asks for it.
inline void Dialog_keepPicture(const std::string& name) {
    const char* folder = getenv("MENU_PICTURES");
    if (folder != nullptr) {
        EXPECT_TRUE(Gui_savePicture(std::string(folder) + "/" + name + ".png"));
    }
}

/// Whole on the screen, and every one of its parts that can be tapped is large enough for a finger.
inline void Dialog_expectTouchable(const std::string& dialog,
                                   std::initializer_list<const char*> parts) {
    Gui_settle();
    GtkWidget* window = Dialog_shown(dialog);
    ASSERT_NE(window, nullptr) << dialog;
    const GdkRectangle place = Gui_place(window);
    EXPECT_GE(place.x, 0);
    EXPECT_GE(place.y, 0);
    EXPECT_LE(place.x + place.width, screenWidth);
    EXPECT_LE(place.y + place.height, screenHeight);
    for (const char* part : parts) {
        EXPECT_GE(Gui_place(Gui_widget(part)).width, 48) << part;
        EXPECT_GE(Gui_place(Gui_widget(part)).height, 48) << part;
    }
}

#endif
