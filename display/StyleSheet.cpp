#include "StyleSheet.h"

#include "EntireScreen.h"
#include "GdkLock.h"
#include "message.h"

#include <array>

namespace {

/// The instrument's sheet, and behind it the one of pulse and no-connection screens.
constexpr std::array<const char*, 2> sheetFiles = {"./resources/style.css",
                                                   "./resources/pulseStyle.css"};

std::array<GtkCssProvider*, sheetFiles.size()> sheets = {};

/// A sheet that is being read.
struct Reading {
    const char* file;
    bool isSound;
};

void tellMistake(GtkCssProvider* /*provider*/, GtkCssSection* section, const GError* error,
                 gpointer data) {
    auto* reading = static_cast<Reading*>(data);
    reading->isSound = false;
    DIAGNOSTIC("Style sheet %s, line %u: %s\n", reading->file,
               gtk_css_section_get_start_line(section) + 1, error->message);
}

/// Reads a sheet. Without an error of the caller's GTK keeps all rules but the mistaken ones.
bool readSheet(GtkCssProvider* provider, const char* file) {
    Reading reading = {file, true};
    const gulong handler =
        g_signal_connect(provider, "parsing-error", G_CALLBACK(tellMistake), &reading);
    gtk_css_provider_load_from_path(provider, file, nullptr);
    g_signal_handler_disconnect(provider, handler);
    return reading.isSound;
}

void takeAway(GtkCssProvider* provider) {
    if (provider != nullptr) {
        gtk_style_context_remove_provider_for_screen(gdk_screen_get_default(),
                                                     GTK_STYLE_PROVIDER(provider));
        g_object_unref(provider);
    }
}

} // namespace

void StyleSheet_install() {
    bool areSound = true;
    for (size_t i = 0; i < sheetFiles.size(); ++i) {
        takeAway(sheets[i]);
        sheets[i] = gtk_css_provider_new();
        areSound = readSheet(sheets[i], sheetFiles[i]) && areSound;
        gtk_style_context_add_provider_for_screen(gdk_screen_get_default(),
                                                  GTK_STYLE_PROVIDER(sheets[i]),
                                                  GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    }
    // Where a rule is missing, GTK's own holds; the screens are black, so it has to write in white.
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", !areSound,
                 nullptr);
}

GdkRGBA StyleSheet_colour(const char* name, const GdkRGBA& otherwise) {
    GdkLock_assertHeld();
    GdkRGBA colour{};
    GtkStyleContext* context = gtk_widget_get_style_context(entireScreen.mainWindow);
    return gtk_style_context_lookup_color(context, name, &colour) != FALSE ? colour : otherwise;
}
