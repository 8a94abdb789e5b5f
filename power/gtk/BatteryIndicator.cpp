#include "BatteryIndicator.h"

#include "AppFlags.h"
#include "BatteryIndicatorRules.h"
#include "BatteryMonitor.h"
#include "ChargingPicture.h"
#include "GtkHelpers.h"

#include <array>
#include <cstdio>

namespace {

/// In the order of BatteryImage.
constexpr std::array<const char*, batteryImageCount> imageFiles = {
    "./resources/battery100.png", "./resources/battery75.png",      "./resources/battery50.png",
    "./resources/battery25.png",  "./resources/battery5.png",       "./resources/batteryPlug.png",
    "./resources/batteryNC.png",  "./resources/batteryCharging.png"};

constexpr int imageX = 900;
constexpr int imageY = 16;
constexpr int labelX = 784;
constexpr int labelY = 16;
constexpr int labelWidth = 108;
constexpr int imageHeight = 48;
constexpr int fontSize_px = 32;

std::array<GtkWidget*, batteryImageCount> images{};
GtkWidget* percentLabel = nullptr;

/// The charging picture as its file has it, full, and how full the one is that is shown.
GdkPixbuf* fullPicture = nullptr;
int shownFilling_percent = 100;

GtkWidget* loadImage(const char* file) {
    GdkPixbuf* picture = gdk_pixbuf_new_from_file(file, nullptr);
    if (picture == nullptr) {
        printf("Cannot read %s\n", file);
        fflush(stdout);
        return nullptr;
    }
    GtkWidget* image = gtk_image_new_from_pixbuf(picture);
    g_object_unref(picture);
    return image;
}

/// A widget that the window's own show-all leaves hidden.
void putHidden(GtkFixed* topLine, GtkWidget* widget, int x, int y) {
    if (widget == nullptr) {
        return;
    }
    gtk_widget_set_no_show_all(widget, TRUE);
    gtk_fixed_put(topLine, widget, x, y);
}

/// A new picture is drawn only when the filling changes.
void fillChargingImage(int filling_percent) {
    GtkWidget* image = images[static_cast<size_t>(BatteryImage::charging)];
    if (image == nullptr || filling_percent == shownFilling_percent) {
        return;
    }
    GdkPixbuf* picture = ChargingPicture_create(fullPicture, filling_percent);
    if (picture == nullptr) {
        return; // the former one stands until the next pass
    }
    gtk_image_set_from_pixbuf(GTK_IMAGE(image), picture);
    g_object_unref(picture);
    shownFilling_percent = filling_percent;
}

} // namespace

void loadBatteryImages() {
    for (size_t index = 0; index < imageFiles.size(); ++index) {
        images[index] = loadImage(imageFiles[index]);
    }
    GtkWidget* charging = images[static_cast<size_t>(BatteryImage::charging)];
    if (charging != nullptr) {
        fullPicture = gtk_image_get_pixbuf(GTK_IMAGE(charging));
        g_object_ref(fullPicture);
    }
}

void BatteryIndicator_place(GtkFixed* topLine) {
    for (size_t index = 0; index < images.size(); ++index) {
        if (images[index] != nullptr) {
            // "./resources/battery100.png" is the widget "battery100"
            std::array<char, 32> name{};
            sscanf(imageFiles[index], "./resources/%31[^.]", name.data());
            gtk_widget_set_name(images[index], name.data());
        }
        putHidden(topLine, images[index], imageX, imageY);
    }
    percentLabel = gtk_label_new("");
    gtk_widget_set_name(percentLabel, "batteryPercent");
    gtk_widget_set_size_request(percentLabel, labelWidth, imageHeight);
    gtk_label_set_xalign(GTK_LABEL(percentLabel), 1.0F);
    setLabelFont_px(percentLabel, fontSize_px, 0, false);
    putHidden(topLine, percentLabel, labelX, labelY);
}

void updateBatteryDisplay() {
    const BatteryIndication shown = BatteryIndicatorRules_choose(
        modelHasBattery(), batteryIsPolled, batteryPresent, batteryCharging, batteryPercent);
    // The monitor is released after the flag was set: what was taken for a missing battery is not
    // shown.
    if (quit) {
        return;
    }
    if (shown.image == BatteryImage::charging) {
        fillChargingImage(shown.filling_percent);
    }
    for (size_t index = 0; index < images.size(); ++index) {
        setWidgetVisible(images[index], static_cast<int>(index) == static_cast<int>(shown.image));
    }
    const bool hasText = shown.text[0] != '\0';
    if (hasText && percentLabel != nullptr) {
        setLabelText(percentLabel, shown.text.data());
        setWidgetFgColor(percentLabel, shown.isRed ? textColorRed : textColorWhite);
    }
    setWidgetVisible(percentLabel, hasText);
}
