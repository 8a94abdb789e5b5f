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

/// A file may name any object's style; here the widget names are the builder ids.
void nameWidget(gpointer object, gpointer /*data*/) {
    if (GTK_IS_WIDGET(object)) {
        gtk_widget_set_name(GTK_WIDGET(object), gtk_buildable_get_name(GTK_BUILDABLE(object)));
    }
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
