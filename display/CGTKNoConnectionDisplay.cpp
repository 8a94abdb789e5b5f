#include "CGTKNoConnectionDisplay.h"

#include "GtkHelpers.h"
#include "ScreenSize.h"
#include "message.h"

#include <cstring>

namespace {

/// Where title and description stand, in pixels from the container's top.
struct NoConnectionLayout {
    int titleY;
    int titleSize;
    int titleHeight;
    int descriptionY;
    int descriptionHeight;
    const char* descriptionClass; ///< in the style sheet
};

constexpr NoConnectionLayout fullLayout = {230, 68, 100, 350, 240, "description"};
constexpr NoConnectionLayout halfLayout = {50, 52, 80, 148, 170, "descriptionHalf"};

constexpr int descriptionMargin = 96;

/// The picture of a sensor, on the full screen only.
constexpr int pictureWidth = 240;
constexpr int pictureY = 90;

const char* sensorKind(const char* portName) {
    return strncmp(portName, "Serial", 6) == 0 ? "Tessel CW" : "Tessel CW & Pulse";
}

// The text is for reading: no cursor, no selection, no menu.
gboolean swallowPress(GtkWidget* /*view*/, GdkEvent* /*event*/, gpointer /*data*/) {
    return TRUE;
}

GtkWidget* newDescriptionView(const char* name, const NoConnectionLayout& layout) {
    GtkWidget* view = gtk_text_view_new();
    gtk_widget_set_name(view, name);
    gtk_text_view_set_editable(GTK_TEXT_VIEW(view), FALSE);
    gtk_text_view_set_cursor_visible(GTK_TEXT_VIEW(view), FALSE);
    gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(view), GTK_WRAP_WORD);
    gtk_text_view_set_justification(GTK_TEXT_VIEW(view), GTK_JUSTIFY_CENTER);
    gtk_text_view_set_pixels_inside_wrap(GTK_TEXT_VIEW(view), 6);
    gtk_text_view_set_pixels_below_lines(GTK_TEXT_VIEW(view), 6);
    gtk_widget_set_can_focus(view, FALSE);
    g_signal_connect(view, "button-press-event", G_CALLBACK(swallowPress), nullptr);
    setWidgetFgAndBgColors(view, textColorLightGrey, bgColorBlack);
    gtk_widget_set_size_request(view, screenWidth - 2 * descriptionMargin,
                                layout.descriptionHeight);
    setWidgetClass(view, layout.descriptionClass, true);
    return view;
}

GtkWidget* newTitle(const char* name, const NoConnectionLayout& layout) {
    GtkWidget* title = gtk_label_new("No Sensor Detected");
    gtk_widget_set_name(title, name);
    setWidgetFgAndBgColors(title, textColorWhite, bgColorBlack);
    setLabelFont_px(title, layout.titleSize, layout.titleHeight, true);
    gtk_label_set_ellipsize(GTK_LABEL(title), PANGO_ELLIPSIZE_END);
    gtk_widget_set_size_request(title, screenWidth, layout.titleHeight);
    return title;
}

/// A critical error must not be taken for an empty port at a glance.
void setTexts(CGTKNoConnectionDisplay* instance, const char* title, const char* description,
              const GdkRGBA& titleColour) {
    CGTKNoConnectionDisplay_setTitle(instance, title);
    CGTKNoConnectionDisplay_setDescription(instance, description);
    setWidgetFgColor(instance->title, titleColour);
}

} // namespace

void CGTKNoConnectionDisplay_Create(CGTKNoConnectionDisplay* instance,
                                    const CGTKPowerDisplay_Parameters& parameters) {
    const bool isHalf = parameters.layout == layoutDualChannel;
    const NoConnectionLayout& layout = isHalf ? halfLayout : fullLayout;
    *instance = {};
    instance->sensorChannel = parameters.sensorChannel;
    instance->displayIndex = parameters.displayIndex;
    instance->container = parameters.container;

    GtkWidget* box = gtk_fixed_new();
    gtk_widget_set_name(box, isHalf ? "dual" : "single");
    char name[64];
    g_snprintf(name, sizeof name, "%s.title", parameters.widgetName);
    instance->title = newTitle(name, layout);
    gtk_fixed_put(GTK_FIXED(box), instance->title, 0, parameters.yOffset + layout.titleY);
    g_snprintf(name, sizeof name, "%s.description", parameters.widgetName);
    instance->descriptionView = newDescriptionView(name, layout);
    instance->descriptionBuffer =
        gtk_text_view_get_buffer(GTK_TEXT_VIEW(instance->descriptionView));
    gtk_fixed_put(GTK_FIXED(box), instance->descriptionView, descriptionMargin,
                  parameters.yOffset + layout.descriptionY);
    if (!isHalf) {
        gtk_fixed_put(GTK_FIXED(box), newImageFromFile("./resources/sensor.png"),
                      (screenWidth - pictureWidth) / 2, parameters.yOffset + pictureY);
    }
    gtk_widget_show_all(box);
    gtk_fixed_put(GTK_FIXED(instance->container), box, 0, 0);
}

void CGTKNoConnectionDisplay_setTitle(CGTKNoConnectionDisplay* instance, const char* text) {
    if (instance->title == nullptr) {
        DIAGNOSTIC("DisplayFSM: instance->message is null!\n");
        return;
    }
    setLabelText(instance->title, text);
}

void CGTKNoConnectionDisplay_setDescription(CGTKNoConnectionDisplay* instance, const char* text) {
    if (instance->descriptionBuffer == nullptr) {
        DIAGNOSTIC("DisplayFSM: instance->descriptionBuffer is null!\n");
        return;
    }
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(instance->descriptionBuffer, &start, &end);
    gchar* current = gtk_text_buffer_get_text(instance->descriptionBuffer, &start, &end, TRUE);
    if (strcmp(current, text) != 0) {
        gtk_text_buffer_set_text(instance->descriptionBuffer, text, -1);
    }
    g_free(current);
}

void CGTKNoConnectionDisplay_setNoConnect(CGTKNoConnectionDisplay* instance) {
    setTexts(instance, "No Sensor Detected",
             "Please Connect a Quorvel Tessel CW or Tessel CW & Pulse sensor to the 8830K in order "
             "to make measurements.",
             textColorWhite);
}

void CGTKNoConnectionDisplay_setConnecting(CGTKNoConnectionDisplay* instance) {
    setTexts(instance, "Connecting...", "The sensor is powering on and initializing. Please wait.",
             textColorWhite);
}

void CGTKNoConnectionDisplay_setConnecting_withPort(CGTKNoConnectionDisplay* instance,
                                                    const char* portName) {
    char description[256];
    g_snprintf(description, sizeof description,
               "A %s sensor on port %s is powering on and initializing. Please wait.",
               sensorKind(portName), portName);
    setTexts(instance, "Connecting...", description, textColorWhite);
}

void CGTKNoConnectionDisplay_setSensorError_withPort(CGTKNoConnectionDisplay* instance,
                                                     const char* portName) {
    char description[256];
    g_snprintf(description, sizeof description,
               "A critical error occured in the %s sensor on port %s.\nTry disconnecting and "
               "reconnecting the sensor or contact Quorvel.",
               sensorKind(portName), portName);
    setTexts(instance, "Critical Sensor Error", description, quorvelSpecificRed);
}

bool CGTKNoConnectionDisplay_getFocusState(const CGTKNoConnectionDisplay* instance) {
    return containsFocus(instance->container);
}
