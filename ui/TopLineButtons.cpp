#include "TopLineButtons.h"

#include "About.h"
#include "AppFlags.h"
#include "AppSettingsMenu.h"
#include "GtkHelpers.h"
#include "SerialConfigHandler.h"

namespace {

constexpr int buttonY = 6;
constexpr int buttonWidth = 92;
constexpr int buttonHeight = 68;
constexpr int firstX = 16;
constexpr int buttonPitch = 104;

void onSettingsClicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        AppSettingsMenu_show();
    }
}

void place(GtkFixed* topLine, GtkWidget* button, int index) {
    gtk_widget_set_size_request(button, buttonWidth, buttonHeight);
    gtk_fixed_put(topLine, button, firstX + index * buttonPitch, buttonY);
    gtk_widget_show_all(button);
}

GtkWidget* newImageButton(const char* name, const char* image, const char* accessibleName) {
    GtkWidget* button = newTouchButton(name);
    gtk_button_set_image(GTK_BUTTON(button), newImageFromFile(image));
    gtk_button_set_always_show_image(GTK_BUTTON(button), TRUE);
    atk_object_set_name(gtk_widget_get_accessible(button), accessibleName);
    return button;
}

} // namespace

void configureButtons(GtkFixed* topLine) {
    GtkWidget* settings = newImageButton("settingsButton", "./resources/gear.png", "Settings");
    g_signal_connect(settings, "clicked", G_CALLBACK(onSettingsClicked), nullptr);
    place(topLine, settings, 0);
    place(topLine, SerialConfig_Dialog_ButtonCreate(), 1);
    place(topLine, about_Dialog_ButtonCreate(), 2);
}
