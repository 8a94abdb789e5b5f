#include "TopLineButtons.h"

#include "AboutHandler.h"
#include "AppFlags.h"
#include "AppSettingsMenu.h"
#include "EthernetConfigHandler.h"
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

GtkWidget* menu = nullptr;

/// An item with picture and text, that is told by "activate".
void addItem(const char* name, const char* text, const char* image, GCallback onActivate) {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 16);
    gtk_box_pack_start(GTK_BOX(box), newImageFromFile(image), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), gtk_label_new(text), FALSE, FALSE, 0);
    GtkWidget* item = gtk_menu_item_new();
    gtk_widget_set_name(item, name);
    gtk_container_add(GTK_CONTAINER(item), box);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
    g_signal_connect(item, "activate", onActivate, nullptr);
}

void onLanActivated(GtkWidget* /*item*/, gpointer /*data*/) {
    if (gtk_init_done) {
        EthernetInfoDialog_Create();
    }
}

void onSerialActivated(GtkWidget* /*item*/, gpointer /*data*/) {
    if (gtk_init_done) {
        SerialSettingsDialog_Create();
    }
}

void createMenu() {
    menu = gtk_menu_new();
    gtk_widget_set_name(menu, "mainMenu");
    gtk_style_context_add_class(gtk_widget_get_style_context(menu), "instrument");
    addItem("menuLan", "LAN", "./resources/Ethernet.png", G_CALLBACK(onLanActivated));
    addItem("menuSerial", "Serial", "./resources/Serial.png", G_CALLBACK(onSerialActivated));
    gtk_widget_show_all(menu);
}

GtkWidget* newMenuButton() {
    GtkWidget* button = newPictureButton("menuButton", "./resources/hamburger.png", "Menu");
    g_signal_connect(button, "clicked", G_CALLBACK(settingsButtonCallback), nullptr);
    return button;
}

} // namespace

void settingsButtonCallback(GtkWidget* button, gpointer /*data*/) {
    if (gtk_init_done && menu != nullptr) {
        gtk_menu_popup_at_widget(GTK_MENU(menu), button, GDK_GRAVITY_SOUTH_WEST,
                                 GDK_GRAVITY_NORTH_WEST, nullptr);
    }
}

void configureButtons(GtkFixed* topLine) {
    GtkWidget* settings = newPictureButton("settingsButton", "./resources/gear.png", "Settings");
    g_signal_connect(settings, "clicked", G_CALLBACK(onSettingsClicked), nullptr);
    place(topLine, settings, 0);
    createMenu();
    place(topLine, newMenuButton(), 1);
    place(topLine, EthernetConfig_Dialog_ButtonCreate(), 2);
    place(topLine, SerialConfig_Dialog_ButtonCreate(), 3);
    place(topLine, about_Dialog_ButtonCreate(), 4);
}
