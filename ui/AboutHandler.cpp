#include "AboutHandler.h"

#include "About.h"
#include "AppFlags.h"
#include "GtkHelpers.h"

namespace {

/// A handler that calls one function once start-up has finished.
template <void (*action)()> void on_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        action();
    }
}

template <void (*action)()>
gboolean on_delete_event(GtkWidget* /*window*/, GdkEvent* /*event*/, gpointer /*data*/) {
    action();
    return TRUE;
}

const DialogHandler handlers[] = {
    {"on_aboutDialog_regulatory_clicked", G_CALLBACK(on_clicked<aboutDialogRegulatory_Create>)},
    {"on_aboutDialog_license_clicked", G_CALLBACK(on_clicked<aboutDialogLicense_Create>)},
    {"on_aboutDialog_ok_clicked", G_CALLBACK(on_clicked<aboutDialog_Close>)},
    {"on_aboutDialog_delete_event", G_CALLBACK(on_delete_event<aboutDialog_Close>)},
    {"on_aboutDialogReg_license_clicked", G_CALLBACK(on_clicked<aboutDialogLicense_Create>)},
    {"on_aboutDialogReg_ok_clicked", G_CALLBACK(on_clicked<aboutDialogRegulatory_Close>)},
    {"on_aboutDialogReg_delete_event", G_CALLBACK(on_delete_event<aboutDialogRegulatory_Close>)},
    {"on_aboutDialogLic_regulatory_clicked", G_CALLBACK(on_clicked<aboutDialogRegulatory_Create>)},
    {"on_aboutDialogLic_ok_clicked", G_CALLBACK(on_clicked<aboutDialogLicense_Close>)},
    {"on_aboutDialogLic_delete_event", G_CALLBACK(on_delete_event<aboutDialogLicense_Close>)},
};

} // namespace

GtkWidget* about_Dialog_ButtonCreate() {
    GtkWidget* button = newPictureButton("aboutButton", "./resources/about.png", "About button");
    g_signal_connect(button, "clicked", G_CALLBACK(on_clicked<aboutDialog_Create>), nullptr);
    return button;
}

void aboutDialog_Create() {
    About_showIdentity(handlers);
}

void aboutDialogRegulatory_Create() {
    aboutDialogLicense_Close();
    About_showRegulatory(handlers);
}

void aboutDialogLicense_Create() {
    aboutDialogRegulatory_Close();
    About_showLicense(handlers);
}
