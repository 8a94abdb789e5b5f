#ifndef UI_ABOUT_H
#define UI_ABOUT_H

#include "DialogHelpers.h"

#include <gtk/gtk.h>

#include <span>

/// The dialog with the instrument's identity, and the two viewers that it leads to: what they show.
/// Main thread, GDK lock held.

constexpr int aboutVersionSize = 128;

/// What is shown, and the widgets of the three dialogs; a dialog's widgets are null while it is not
/// on the screen.
struct aboutDialog {
    char modelNum[16];
    char serialNum[16];
    char fwVersion[aboutVersionSize]; ///< date and time, line feed, build identifier

    GtkWidget* aboutDialog;
    GtkWidget* aboutDialogVbox;
    GtkWidget* aboutDialogLabelHeading;
    GtkWidget* aboutDialogActionArea;
    GtkWidget* aboutDialogTable;
    GtkWidget* aboutDialogLabelModel;
    GtkWidget* aboutDialogLabelModelStr;
    GtkWidget* aboutDialogLabelSerial;
    GtkWidget* aboutDialogLabelSerialStr;
    GtkWidget* aboutDialogLabelFwRev;
    GtkWidget* aboutDialogLabelFwRevStr;
    GtkWidget* aboutDialog_regulatory;
    GtkWidget* aboutDialog_license;
    GtkWidget* aboutDialog_ok;

    GtkWidget* aboutDialogRegulatory;
    GtkWidget* aboutDialogRegVbox;
    GtkWidget* aboutDialogRegLabelHeading;
    GtkWidget* aboutDialogRegActionArea;
    GtkWidget* aboutDialogRegScrolledWindow;
    GtkWidget* aboutDialogRegViewport;
    GtkWidget* aboutDialogRegTextview;
    GtkTextBuffer* aboutDialogRegTextbuffer;
    GtkAdjustment* aboutDialogRegVadjustment;
    GtkWidget* aboutDialogReg_license;
    GtkWidget* aboutDialogReg_ok;
    GtkWidget* aboutDialogReg_previous;
    GtkWidget* aboutDialogReg_next;
    GtkWidget* aboutDialogReg_page;

    GtkWidget* aboutDialogLicense;
    GtkWidget* aboutDialogLicVbox;
    GtkWidget* aboutDialogLicLabelHeading;
    GtkWidget* aboutDialogLicActionArea;
    GtkWidget* aboutDialogLicScrolledWindow;
    GtkWidget* aboutDialogLicViewport;
    GtkWidget* aboutDialogLicTextview;
    GtkTextBuffer* aboutDialogLicTextbuffer;
    GtkAdjustment* aboutDialogLicVadjustment;
    GtkWidget* aboutDialogLic_regulatory;
    GtkWidget* aboutDialogLic_ok;
    GtkWidget* aboutDialogLic_previous;
    GtkWidget* aboutDialogLic_next;
    GtkWidget* aboutDialogLic_page;
};
using ABOUTDIALOG_S = struct aboutDialog;

/// Null before initAbout.
extern ABOUTDIALOG_S* about;

/// Makes the record with the instrument's identity and version; ends the process if there is no
/// memory. Once, after InstrumentIdentity_read.
void initAbout();

/// The first two words of a version on one line, the third on the next.
void About_formatVersion(const char* version, char (&text)[aboutVersionSize]);

/// Show one of the dialogs, loaded anew, with the handlers that its interface file names.
void About_showIdentity(std::span<const DialogHandler> handlers);
void About_showRegulatory(std::span<const DialogHandler> handlers);
void About_showLicense(std::span<const DialogHandler> handlers);

/// Close them.
void aboutDialog_Close();
void aboutDialogRegulatory_Close();
void aboutDialogLicense_Close();

#endif
