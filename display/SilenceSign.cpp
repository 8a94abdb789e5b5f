#include "SilenceSign.h"

#include "GtkHelpers.h"

namespace {

/// The text breaks after its second word; a week is 10080 minutes.
constexpr char widestLine[] = "for 9999 min";
constexpr int lineCount = 2;
constexpr int gap_px = 10;
constexpr int keyBorder_px = 1;

GtkWidget* newSign(const char* name, int height_px) {
    const int line_px = height_px / lineCount;
    GtkWidget* label = gtk_label_new(widestLine);
    gtk_widget_set_name(label, name);
    setLabelFont_px(label, line_px * 3 / 4, line_px, true);
    setWidgetFgColor(label, textColorAmber);
    int width_px = 0;
    pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(label)), &width_px, nullptr);
    gtk_widget_set_size_request(label, width_px, height_px);
    gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_lines(GTK_LABEL(label), lineCount);
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
    setLabelFont_px(label, title.silence.titleSize_px, 0, false);
    int needed_px = 0;
    gtk_widget_get_preferred_width(label, nullptr, &needed_px);
    const int margins_px = gtk_widget_get_margin_start(label) + gtk_widget_get_margin_end(label);
    const int room_px = width_px - 2 * keyBorder_px;
    if (needed_px > room_px) {
        const int size_px =
            title.silence.titleSize_px * (room_px - margins_px) / (needed_px - margins_px);
        setLabelFont_px(label, size_px, 0, false);
    }
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
    GtkWidget* label = newSign(name, key.height);
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
