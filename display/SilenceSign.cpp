#include "SilenceSign.h"

#include "GtkHelpers.h"

#include <algorithm>

namespace {

/// In a wide row the sign has one line, in a narrow one the text breaks after its second word. A
/// week is 10080 minutes.
struct Lines {
    int count;
    const char* widest;
};
constexpr Lines oneLine = {1, "no reading for 9999 min"};
constexpr Lines twoLines = {2, "for 9999 min"};
constexpr int wideKey_px = 700;
constexpr int largestFont_px = 24;
constexpr int gap_px = 10;
constexpr int keyBorder_px = 1;

GtkWidget* newSign(const char* name, const Lines& lines, int height_px) {
    const int line_px = height_px / lines.count;
    GtkWidget* label = gtk_label_new(lines.widest);
    gtk_widget_set_name(label, name);
    setLabelFont_px(label, std::min(line_px * 3 / 4, largestFont_px), line_px, true);
    setWidgetClass(label, "attention", true);
    int width_px = 0;
    pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(label)), &width_px, nullptr);
    gtk_widget_set_size_request(label, width_px, height_px);
    gtk_label_set_line_wrap(GTK_LABEL(label), lines.count > 1);
    gtk_label_set_lines(GTK_LABEL(label), lines.count);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    gtk_label_set_xalign(GTK_LABEL(label), 0.0F);
    gtk_label_set_text(GTK_LABEL(label), "");
    gtk_widget_set_no_show_all(label, TRUE);
    return label;
}

/// Gives the button a width. A name that does not fit is written smaller, never cut.
void setKeyWidth(const gtkPowerDisplay_Title& title, int width_px) {
    GtkWidget* label = title.sensorButtonLabel;
    int height_px = 0;
    gtk_widget_get_size_request(title.sensorButton, nullptr, &height_px);
    gtk_widget_set_size_request(title.sensorButton, width_px, height_px);
    if (label == nullptr) {
        return;
    }
    const int room_px = width_px - 2 * keyBorder_px;
    int needed_px = 0;
    int size_px = title.silence.titleSize_px;
    do {
        setLabelFont_px(label, size_px, 0, false);
        gtk_widget_get_preferred_width(label, nullptr, &needed_px);
        --size_px;
    } while (needed_px > room_px && size_px > 0);
}

} // namespace

void SilenceSign_create(gtkPowerDisplay_Title* title, const char* name, int titleSize_px) {
    if (title->sensorButton == nullptr || !GTK_IS_FIXED(title->container)) {
        return;
    }
    GdkRectangle key{};
    gtk_container_child_get(GTK_CONTAINER(title->container), title->sensorButton, "x", &key.x, "y",
                            &key.y, nullptr);
    gtk_widget_get_size_request(title->sensorButton, &key.width, &key.height);
    GtkWidget* label = newSign(name, key.width >= wideKey_px ? oneLine : twoLines, key.height);
    title->silence = {label, key.width, titleSize_px};
    int width_px = 0;
    gtk_widget_get_size_request(label, &width_px, nullptr);
    gtk_fixed_put(GTK_FIXED(title->container), label, key.x + key.width - width_px, key.y);
}

void SilenceSign_show(const gtkPowerDisplay_Title& title, const char* text) {
    GtkWidget* label = title.silence.label;
    const bool isShown = *text != '\0';
    if (label == nullptr) {
        return;
    }
    setLabelText(label, text);
    if ((gtk_widget_get_visible(label) != 0) == isShown) {
        return;
    }
    int width_px = 0;
    gtk_widget_get_size_request(label, &width_px, nullptr);
    const int keyWidth_px = title.silence.keyWidth_px;
    setKeyWidth(title, isShown ? keyWidth_px - width_px - gap_px : keyWidth_px);
    setWidgetVisible(label, isShown);
}
