#include "DialogHelpers.h"

#include "EntireScreen.h"
#include "GtkHelpers.h"
#include "SensorManager.h"
#include "SensorPortHandler.h"
#include "message.h"

#include <cstring>

namespace {

constexpr char dialogClass[] = "instrument";
constexpr int progressMargin = 40;
constexpr guint refreshPeriod_ms = 500;

/// Its lines are some 20 px high: the least that is read at arm's length.
constexpr int smallestFont_px = 18;

/// A file may name any object's style; here the widget names are the builder ids.
void nameWidget(gpointer object, gpointer /*data*/) {
    if (GTK_IS_WIDGET(object)) {
        gtk_widget_set_name(GTK_WIDGET(object), gtk_buildable_get_name(GTK_BUILDABLE(object)));
    }
}

/// The font that the style sheet gives to a widget, whether or not it has been shown before.
struct SheetFont {
    PangoFontDescription* description; ///< to be freed
    double size_px;
};

SheetFont fontOf(GtkWidget* widget) {
    GtkStyleContext* style = gtk_widget_get_style_context(widget);
    SheetFont font = {nullptr, 0.0};
    gtk_style_context_get(style, gtk_style_context_get_state(style), GTK_STYLE_PROPERTY_FONT,
                          &font.description, "font-size", &font.size_px, nullptr);
    return font;
}

/// A font size, not above the sheet's, at which a text takes no more than this width if it can.
PangoAttrList* newFittingSize(GtkWidget* widget, const char* text, int width_px) {
    const SheetFont font = fontOf(widget);
    PangoLayout* layout = gtk_widget_create_pango_layout(widget, text);
    int size_px = static_cast<int>(font.size_px);
    for (;; --size_px) {
        pango_font_description_set_absolute_size(font.description,
                                                 static_cast<double>(size_px) * PANGO_SCALE);
        pango_layout_set_font_description(layout, font.description);
        int taken_px = 0;
        pango_layout_get_pixel_size(layout, &taken_px, nullptr);
        if (taken_px <= width_px || size_px <= smallestFont_px) {
            break;
        }
    }
    g_object_unref(layout);
    pango_font_description_free(font.description);
    PangoAttrList* attributes = pango_attr_list_new();
    pango_attr_list_insert(attributes, pango_attr_size_new_absolute(size_px * PANGO_SCALE));
    return attributes;
}

/// An entry's width inside its frame.
int textWidth_px(GtkWidget* entry) {
    GtkStyleContext* style = gtk_widget_get_style_context(entry);
    const GtkStateFlags state = gtk_style_context_get_state(style);
    GtkBorder frame{};
    GtkBorder padding{};
    gtk_style_context_get_border(style, state, &frame);
    gtk_style_context_get_padding(style, state, &padding);
    int width_px = 0;
    gtk_widget_get_size_request(entry, &width_px, nullptr);
    return width_px - frame.left - padding.left - frame.right - padding.right;
}

void fitEntry(GtkWidget* entry, gpointer /*data*/) {
    PangoAttrList* attributes =
        newFittingSize(entry, gtk_entry_get_text(GTK_ENTRY(entry)), textWidth_px(entry));
    gtk_entry_set_attributes(GTK_ENTRY(entry), attributes);
    pango_attr_list_unref(attributes);
}

void stopRefreshing(GtkWidget* /*dialog*/, gpointer source) {
    g_source_remove(GPOINTER_TO_UINT(source));
}

} // namespace

GtkBuilder* Dialog_load(const char* file, const DialogHandler* handlers, size_t handlerCount) {
    GtkBuilder* builder = gtk_builder_new();
    for (size_t i = 0; i < handlerCount; ++i) {
        gtk_builder_add_callback_symbol(builder, handlers[i].name, handlers[i].function);
    }
    GError* error = nullptr;
    if (gtk_builder_add_from_file(builder, file, &error) == 0) {
        DIAGNOSTIC("Error loading file: %s\n", error->message);
        g_error_free(error);
        g_object_unref(builder);
        return nullptr;
    }
    GSList* objects = gtk_builder_get_objects(builder);
    g_slist_foreach(objects, nameWidget, nullptr);
    g_slist_free(objects);
    gtk_builder_connect_signals(builder, nullptr);
    return builder;
}

GtkWidget* Dialog_widget(GtkBuilder* builder, const char* id) {
    GObject* object = gtk_builder_get_object(builder, id);
    if (!GTK_IS_WIDGET(object)) {
        DIAGNOSTIC("The interface has no widget %s.\n", id);
        return nullptr;
    }
    return GTK_WIDGET(object);
}

void Dialog_setPicture(GtkBuilder* builder, const char* id, const char* file) {
    GtkWidget* image = Dialog_widget(builder, id);
    GdkPixbuf* picture = image != nullptr ? readPicture(file) : nullptr;
    if (picture != nullptr) {
        gtk_image_set_from_pixbuf(GTK_IMAGE(image), picture);
        g_object_unref(picture);
    }
}

bool Dialog_holdsNumber(GtkWidget* entry) {
    return std::strpbrk(gtk_entry_get_text(GTK_ENTRY(entry)), "0123456789") != nullptr;
}

void Dialog_fitEntry(GtkWidget* entry) {
    g_signal_connect(entry, "changed", G_CALLBACK(fitEntry), nullptr);
    fitEntry(entry, nullptr);
}

void Dialog_fitLabel(GtkWidget* label, int width_px) {
    if (label == nullptr) {
        return;
    }
    PangoAttrList* attributes =
        newFittingSize(label, gtk_label_get_text(GTK_LABEL(label)), width_px);
    gtk_label_set_attributes(GTK_LABEL(label), attributes);
    pango_attr_list_unref(attributes);
}

SensorNameText Dialog_sensorName(uint32_t port) {
    SENSOR_IDENTITY identity = {};
    char serialNumber[sensorSerialNumberSize] = "";
    sensorPortHandler_getSensorInformation(port, &identity, serialNumber, sizeof serialNumber);
    return MeasurementText_sensorName(port, identity.sensorModel);
}

bool Dialog_sensorHasGone(uint32_t port, uint32_t admission) {
    return !SensorManager_IsSensorActive(port) ||
           SensorManager_getAdmissionNumber(port) != admission;
}

void Dialog_showAbove(GtkWidget* dialog) {
    GtkWindow* window = GTK_WINDOW(dialog);
    gtk_style_context_add_class(gtk_widget_get_style_context(dialog), dialogClass);
    gtk_window_set_decorated(window, FALSE);
    if (entireScreen.mainWindow != nullptr) {
        gtk_window_set_transient_for(window, GTK_WINDOW(entireScreen.mainWindow));
    }
    gtk_window_set_position(window, GTK_WIN_POS_CENTER_ON_PARENT);
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_keep_above(window, TRUE);
    gtk_widget_show_all(dialog);
    gtk_window_present(window);
}

GtkWidget* Dialog_showProgress(const char* name, const char* text) {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_widget_set_name(window, name);
    gtk_container_set_border_width(GTK_CONTAINER(window), progressMargin);
    gtk_container_add(GTK_CONTAINER(window), gtk_label_new(text));
    Dialog_showAbove(window);
    gtk_window_set_modal(GTK_WINDOW(window), FALSE);
    return window;
}

void Dialog_keepFresh(GtkWidget* dialog, GSourceFunc refresh) {
    const guint source = gdk_threads_add_timeout(refreshPeriod_ms, refresh, dialog);
    g_signal_connect(dialog, "destroy", G_CALLBACK(stopRefreshing), GUINT_TO_POINTER(source));
}

const char* Dialog_textOrNone(const char* text) {
    return *text != '\0' ? text : "---";
}

void Dialog_close(GtkWidget** dialog) {
    if (*dialog != nullptr) {
        GtkWidget* closing = *dialog;
        *dialog = nullptr;
        gtk_widget_destroy(closing);
    }
}
