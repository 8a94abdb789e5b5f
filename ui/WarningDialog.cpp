#include "WarningDialog.h"

#include "AppFlags.h"
#include "GtkHelpers.h"

#include <cstdio>

namespace {

constexpr int contentMargin = 28;
/// What a box without a button still leaves below its text.
constexpr int emptyRow_px = 20;

/// The OK button. It only closes the box: what the warning is about goes on.
void onResponse(GtkDialog* /*dialog*/, int /*response*/, gpointer data) {
    if (!gtk_init_done) {
        return;
    }
    auto* warning = static_cast<WarningDialog*>(data);
    WarningDialog_close(warning);
    WarningDialog_handleState(warning);
}

void putUp(WarningDialog* warning) {
    GtkWidget* dialog = gtk_message_dialog_new(
        warning->parent, GTK_DIALOG_MODAL, GTK_MESSAGE_OTHER,
        warning->hasButton ? GTK_BUTTONS_OK : GTK_BUTTONS_NONE, "%s", warning->message);
    gtk_widget_set_name(dialog, warning->name);
    gtk_style_context_add_class(gtk_widget_get_style_context(dialog), "warningBox");
    GtkWidget* content = gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(dialog));
    gtk_container_set_border_width(GTK_CONTAINER(content), contentMargin);
    if (warning->hasButton) {
        GtkWidget* button = gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
        gtk_widget_set_name(button, "warningDialog.ok");
    } else {
        gtk_widget_set_margin_top(content, emptyRow_px);
    }
    gtk_window_set_decorated(GTK_WINDOW(dialog), FALSE);
    gtk_window_set_keep_above(GTK_WINDOW(dialog), TRUE);
    placeOverWindow(GTK_WINDOW(dialog), warning->parent);
    g_signal_connect(dialog, "response", G_CALLBACK(onResponse), warning);
    warning->dialog = dialog;
    gtk_widget_show(dialog);
}

void takeAway(WarningDialog* warning) {
    if (warning->dialog == nullptr) {
        return;
    }
    gtk_widget_destroy(warning->dialog);
    warning->dialog = nullptr;
}

/// Another dialog that came later is kept below, and may not keep touches from this one.
void keepOnTop(GtkWidget* dialog) {
    if (gtk_grab_get_current() != dialog) {
        gtk_grab_remove(dialog);
        gtk_grab_add(dialog);
    }
    GdkWindow* window = gtk_widget_get_window(dialog);
    if (window != nullptr) {
        gdk_window_raise(window);
    }
}

} // namespace

void WarningDialog_create(WarningDialog* warning, GtkWindow* parent, const char* text) {
    warning->showSignal = false;
    warning->closeSignal = false;
    warning->dialog = nullptr;
    warning->parent = parent;
    snprintf(warning->message, sizeof warning->message, "%s", text);
    warning->name = "warningDialog";
    warning->hasButton = true;
}

void WarningDialog_createWithoutButton(WarningDialog* warning, GtkWindow* parent, const char* name,
                                       const char* text) {
    WarningDialog_create(warning, parent, text);
    warning->name = name;
    warning->hasButton = false;
}

void WarningDialog_show(WarningDialog* warning) {
    warning->closeSignal = false;
    warning->showSignal = true;
}

void WarningDialog_close(WarningDialog* warning) {
    warning->showSignal = false;
    warning->closeSignal = true;
}

void WarningDialog_handleState(WarningDialog* warning) {
    if (warning->showSignal.exchange(false)) {
        if (warning->dialog == nullptr) {
            putUp(warning);
        }
    } else if (warning->closeSignal.exchange(false)) {
        takeAway(warning);
    }
    if (warning->dialog != nullptr) {
        keepOnTop(warning->dialog);
    }
}
