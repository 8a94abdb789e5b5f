#include "GuiHarness.h"

#include "GdkLock.h"
#include "GtkHelpers.h"
#include "ScreenSize.h"
#include "XServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <unistd.h>

namespace {

std::vector<std::string> warnings;

GLogWriterOutput collectWarning(GLogLevelFlags level, const GLogField* fields, gsize count,
                                gpointer /*data*/) {
    if ((level & (G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_ERROR)) != 0) {
        gchar* text = g_log_writer_format_fields(level, fields, count, FALSE);
        fprintf(stderr, "%s\n", text);
        warnings.emplace_back(text);
        g_free(text);
    }
    return G_LOG_WRITER_HANDLED;
}

void goToResources() {
    if (chdir(GUI_PROGRAM_FOLDER) != 0) {
        perror(GUI_PROGRAM_FOLDER);
        _exit(1);
    }
}

/// Relative luminance of a colour of the screen (0xrrggbb), 0 to 1.
double luminance(uint32_t colour) {
    constexpr std::array<double, 3> weights = {0.0722, 0.7152, 0.2126};
    double sum = 0;
    for (const double weight : weights) {
        const double value = (colour & 0xFFU) / 255.0;
        sum += weight * (value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
        colour >>= 8U;
    }
    return sum;
}

/// How many pixels of a place on a picture have each colour.
std::map<uint32_t, int> coloursOf(GdkPixbuf* picture, const GdkRectangle& place) {
    const guint8* pixels = gdk_pixbuf_read_pixels(picture);
    const int stride = gdk_pixbuf_get_rowstride(picture);
    const int channels = gdk_pixbuf_get_n_channels(picture);
    const int right = std::min(place.x + place.width, screenWidth);
    const int bottom = std::min(place.y + place.height, screenHeight);
    std::map<uint32_t, int> counts;
    uint32_t last = 0;
    int* count = &counts[last]; // most pixels have the colour of the one before
    for (int y = std::max(place.y, 0); y < bottom; ++y) {
        for (int x = std::max(place.x, 0); x < right; ++x) {
            const guint8* pixel = pixels + y * stride + x * channels;
            const uint32_t colour = uint32_t{pixel[0]} << 16U | uint32_t{pixel[1]} << 8U | pixel[2];
            if (colour != last) {
                last = colour;
                count = &counts[colour];
            }
            ++*count;
        }
    }
    std::erase_if(counts, [](const auto& colour) { return colour.second == 0; });
    return counts;
}

struct Collector {
    GType type;
    std::vector<GtkWidget*> widgets;
};

void collect(GtkWidget* widget, gpointer data) {
    auto* collector = static_cast<Collector*>(data);
    if (!gtk_widget_get_mapped(widget)) {
        return;
    }
    if (g_type_is_a(G_OBJECT_TYPE(widget), collector->type)) {
        collector->widgets.push_back(widget);
    }
    if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(GTK_CONTAINER(widget), collect, data);
    }
}

/// Whether a container is visible while the screen in another one is shown; both halves alike.
bool isVisibleWith(const ScreenContainerRow& row, const ScreenContainerRow& shown) {
    switch (row.use) {
    case ScreenUse::layout:
        return row.full == shown.full;
    case ScreenUse::measurement:
        return ScreenTable_measures(shown);
    default:
        return row.use == shown.use;
    }
}

} // namespace

void Gui_start() {
    const std::string display = XServer_start();
    if (display.empty()) {
        fputs("cannot start Xvfb\n", stderr);
        _exit(1);
    }
    setenv("DISPLAY", display.c_str(), 1);
    setenv("GDK_BACKEND", "x11", 1);
    setenv("NO_AT_BRIDGE", "1", 1);
    setenv("GDK_GL", "disable", 1);
    unsetenv("GTK_THEME");
    g_log_set_writer_func(collectWarning, nullptr, nullptr);
    goToResources();
    gtk_disable_setlocale();
    GdkLock_initialize();
    gtk_init(nullptr, nullptr);
    GdkLock_enter();
    initColors();
    loadFonts();
    createGTKDisplays();
    XServer_movePointer(1023, 767);
    Gui_settle();
}

void Gui_settle() {
    // The frame clock paints at most every 16 ms: what has changed is on the screen once it has run
    // and nothing is pending.
    GdkFrameClock* clock = gtk_widget_get_frame_clock(entireScreen.mainWindow);
    XServer_synchronise();
    bool isPainted = false;
    const gulong handler = g_signal_connect_swapped(
        clock, "after-paint", G_CALLBACK(+[](bool* painted, GdkFrameClock*) { *painted = true; }),
        &isPainted);
    gdk_frame_clock_request_phase(clock, GDK_FRAME_CLOCK_PHASE_AFTER_PAINT);
    while (!isPainted || gtk_events_pending()) {
        gtk_main_iteration_do(TRUE);
    }
    g_signal_handler_disconnect(clock, handler);
}

bool Gui_waitUntil(const std::function<bool()>& condition, uint32_t limit_ms) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        Gui_settle();
    }
    return true;
}

void Gui_showScreen(GtkSensorInstance screen) {
    const ScreenContainerRow& shown = *ScreenTable_rowOfScreen(screen);
    for (const ScreenContainerRow& row : screenContainers) {
        for (const SensorDisplayInstance_t display : {UpperDisplay, LowerDisplay}) {
            if (row.full == shown.full || row.use == ScreenUse::layout) {
                setWidgetVisible(*EntireScreen_field(row.container, display),
                                 isVisibleWith(row, shown));
            }
        }
    }
    Gui_settle();
}

GtkWidget* Gui_widget(const std::string& name) {
    GtkWidget* widget = find_child(entireScreen.mainWindow, name.c_str());
    GList* windows = gtk_window_list_toplevels();
    for (GList* one = windows; one != nullptr && widget == nullptr; one = one->next) {
        widget = find_child(static_cast<GtkWidget*>(one->data), name.c_str());
    }
    g_list_free(windows);
    if (widget == nullptr) {
        ADD_FAILURE() << "no widget is named " << name;
    }
    return widget;
}

std::string Gui_textOf(GtkTextBuffer* buffer) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    gchar* text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
    std::string result = text;
    g_free(text);
    return result;
}

std::string Gui_text(const std::string& name) {
    GtkWidget* widget = Gui_widget(name);
    if (GTK_IS_TEXT_VIEW(widget)) {
        return Gui_textOf(gtk_text_view_get_buffer(GTK_TEXT_VIEW(widget)));
    }
    if (GTK_IS_ENTRY(widget)) {
        return gtk_entry_get_text(GTK_ENTRY(widget));
    }
    return GTK_IS_LABEL(widget) ? gtk_label_get_text(GTK_LABEL(widget)) : "";
}

std::string Gui_colour(const std::string& name) {
    GtkWidget* widget = Gui_widget(name);
    if (widget == nullptr) {
        return "";
    }
    GtkStyleContext* context = gtk_widget_get_style_context(widget);
    GdkRGBA colour;
    gtk_style_context_get_color(context, gtk_style_context_get_state(context), &colour);
    char text[8];
    const auto channel = [](double value) {
        return static_cast<unsigned>(std::lround(value * 255.0));
    };
    snprintf(text, sizeof text, "#%02x%02x%02x", channel(colour.red) & 0xFFU,
             channel(colour.green) & 0xFFU, channel(colour.blue) & 0xFFU);
    return text;
}

GdkRectangle Gui_place(GtkWidget* widget) {
    GtkWidget* window = gtk_widget_get_toplevel(widget);
    int left = 0;
    int top = 0;
    gdk_window_get_origin(gtk_widget_get_window(window), &left, &top);
    int x = 0;
    int y = 0;
    gtk_widget_translate_coordinates(widget, window, 0, 0, &x, &y);
    return {left + x, top + y, gtk_widget_get_allocated_width(widget),
            gtk_widget_get_allocated_height(widget)};
}

bool Gui_isShown(const std::string& name) {
    GtkWidget* widget = Gui_widget(name);
    return widget != nullptr && gtk_widget_get_mapped(widget);
}

void Gui_press(const std::string& name) {
    GtkWidget* widget = Gui_widget(name);
    ASSERT_NE(widget, nullptr);
    ASSERT_TRUE(gtk_widget_get_mapped(widget)) << name << " is not on the screen";
    Gui_settle(); // a widget that was built a moment ago has its place only now
    const GdkRectangle place = Gui_place(widget);
    XServer_movePointer(place.x + place.width / 2, place.y + place.height / 2);
    XServer_button(true);
    Gui_settle();
}

void Gui_release() {
    XServer_button(false);
    Gui_settle();
    XServer_movePointer(1023, 767);
    Gui_settle();
}

void Gui_tap(const std::string& name) {
    Gui_press(name);
    Gui_release();
}

std::vector<GtkWidget*> Gui_shownWidgets(GType type) {
    Collector collector = {type, {}};
    collect(entireScreen.mainWindow, &collector);
    return collector.widgets;
}

GdkPixbuf* Gui_picture() {
    Gui_settle();
    GdkWindow* root = gdk_screen_get_root_window(gdk_screen_get_default());
    return gdk_pixbuf_get_from_window(root, 0, 0, screenWidth, screenHeight);
}

double Gui_contrast(GtkWidget* widget) {
    GdkPixbuf* picture = Gui_picture();
    const double contrast = Gui_contrastIn(picture, Gui_place(widget));
    g_object_unref(picture);
    return contrast;
}

double Gui_contrastIn(GdkPixbuf* picture, const GdkRectangle& place) {
    const std::map<uint32_t, int> counts = coloursOf(picture, place);
    const auto ground =
        std::ranges::max_element(counts, {}, [](const auto& colour) { return colour.second; });
    double best = 1;
    for (const auto& colour : counts) {
        const double one = luminance(colour.first) + 0.05;
        const double other = luminance(ground->first) + 0.05;
        best = std::max({best, one / other, other / one});
    }
    return best;
}

bool Gui_savePicture(const std::string& file) {
    GdkPixbuf* picture = Gui_picture();
    const bool isSaved =
        picture != nullptr &&
        gdk_pixbuf_save(picture, file.c_str(), "png", nullptr, static_cast<char*>(nullptr));
    if (picture != nullptr) {
        g_object_unref(picture);
    }
    return isSaved;
}

const std::vector<std::string>& Gui_warnings() {
    return warnings;
}
