#ifndef TESTS_GUI_DIALOG_FIXTURE_H
#define TESTS_GUI_DIALOG_FIXTURE_H

#include "ScreenFixture.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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

/// Stands in another folder until the end of its scope.
class InFolder {
public:
    explicit InFolder(const std::filesystem::path& folder) {
        std::filesystem::current_path(folder);
    }
    ~InFolder() {
        std::filesystem::current_path(before);
    }
    InFolder(const InFolder&) = delete;
    InFolder& operator=(const InFolder&) = delete;

private:
    const std::filesystem::path before = std::filesystem::current_path();
};

/// Stands in a folder without resources until the end of its scope.
class WithoutResources {
    const InFolder elsewhere{"/"};
};

/// Stands in a folder whose resources are the real ones, but for one with another content.
class WithResource {
public:
    WithResource(const std::string& name, const std::string& content)
        : elsewhere(makeFolder(name, content)) {}

private:
    static std::filesystem::path makeFolder(const std::string& name, const std::string& content) {
        const std::filesystem::path folder = World_folder() + "/with-resource";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder / "resources");
        for (const auto& entry : std::filesystem::directory_iterator("resources")) {
            std::filesystem::create_symlink(std::filesystem::absolute(entry.path()),
                                            folder / "resources" / entry.path().filename());
        }
        EXPECT_TRUE(std::filesystem::remove(folder / "resources" / name)) << name;
        std::ofstream(folder / "resources" / name) << content;
        return folder;
    }
    const InFolder elsewhere;
};

/// Interface files that cannot serve: none at all, cut, and without the widgets.
constexpr std::array<const char*, 3> brokenInterfaces = {
    "no interface", "<interface><object class=\"GtkWindow\"", "<interface/>"};

/// A diagnostic has told that an interface file cannot serve.
inline bool isBrokenInterfaceTold() {
    return World_syslogContains("Error loading file: ") ||
           World_syslogContains("The interface has no widget ");
}

#endif
