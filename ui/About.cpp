#include "About.h"

#include "FirmwareVersion.h"
#include "InstrumentIdentity.h"
#include "Process.h"
#include "TextPages.h"
#include "message.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

ABOUTDIALOG_S* about = nullptr;

namespace {

/// A widget of a dialog: its builder id and its place in the record.
struct Part {
    const char* id;
    GtkWidget* ABOUTDIALOG_S::*widget;
};

constexpr Part identityParts[] = {
    {"aboutDialog", &ABOUTDIALOG_S::aboutDialog},
    {"aboutDialogVbox", &ABOUTDIALOG_S::aboutDialogVbox},
    {"aboutDialogLabelHeading", &ABOUTDIALOG_S::aboutDialogLabelHeading},
    {"aboutDialogActionArea", &ABOUTDIALOG_S::aboutDialogActionArea},
    {"aboutDialogTable", &ABOUTDIALOG_S::aboutDialogTable},
    {"aboutDialogLabelModel", &ABOUTDIALOG_S::aboutDialogLabelModel},
    {"aboutDialogLabelModelStr", &ABOUTDIALOG_S::aboutDialogLabelModelStr},
    {"aboutDialogLabelSerial", &ABOUTDIALOG_S::aboutDialogLabelSerial},
    {"aboutDialogLabelSerialStr", &ABOUTDIALOG_S::aboutDialogLabelSerialStr},
    {"aboutDialogLabelFwRev", &ABOUTDIALOG_S::aboutDialogLabelFwRev},
    {"aboutDialogLabelFwRevStr", &ABOUTDIALOG_S::aboutDialogLabelFwRevStr},
    {"aboutDialog_regulatory", &ABOUTDIALOG_S::aboutDialog_regulatory},
    {"aboutDialog_license", &ABOUTDIALOG_S::aboutDialog_license},
    {"aboutDialog_ok", &ABOUTDIALOG_S::aboutDialog_ok},
};

constexpr Part regulatoryParts[] = {
    {"aboutDialogRegulatory", &ABOUTDIALOG_S::aboutDialogRegulatory},
    {"aboutDialogRegVbox", &ABOUTDIALOG_S::aboutDialogRegVbox},
    {"aboutDialogRegLabelHeading", &ABOUTDIALOG_S::aboutDialogRegLabelHeading},
    {"aboutDialogRegActionArea", &ABOUTDIALOG_S::aboutDialogRegActionArea},
    {"aboutDialogRegScrolledWindow", &ABOUTDIALOG_S::aboutDialogRegScrolledWindow},
    {"aboutDialogRegViewport", &ABOUTDIALOG_S::aboutDialogRegViewport},
    {"aboutDialogRegTextview", &ABOUTDIALOG_S::aboutDialogRegTextview},
    {"aboutDialogReg_license", &ABOUTDIALOG_S::aboutDialogReg_license},
    {"aboutDialogReg_ok", &ABOUTDIALOG_S::aboutDialogReg_ok},
    {"aboutDialogReg_previous", &ABOUTDIALOG_S::aboutDialogReg_previous},
    {"aboutDialogReg_next", &ABOUTDIALOG_S::aboutDialogReg_next},
    {"aboutDialogReg_page", &ABOUTDIALOG_S::aboutDialogReg_page},
};

constexpr Part licenseParts[] = {
    {"aboutDialogLicense", &ABOUTDIALOG_S::aboutDialogLicense},
    {"aboutDialogLicVbox", &ABOUTDIALOG_S::aboutDialogLicVbox},
    {"aboutDialogLicLabelHeading", &ABOUTDIALOG_S::aboutDialogLicLabelHeading},
    {"aboutDialogLicActionArea", &ABOUTDIALOG_S::aboutDialogLicActionArea},
    {"aboutDialogLicScrolledWindow", &ABOUTDIALOG_S::aboutDialogLicScrolledWindow},
    {"aboutDialogLicViewport", &ABOUTDIALOG_S::aboutDialogLicViewport},
    {"aboutDialogLicTextview", &ABOUTDIALOG_S::aboutDialogLicTextview},
    {"aboutDialogLic_regulatory", &ABOUTDIALOG_S::aboutDialogLic_regulatory},
    {"aboutDialogLic_ok", &ABOUTDIALOG_S::aboutDialogLic_ok},
    {"aboutDialogLic_previous", &ABOUTDIALOG_S::aboutDialogLic_previous},
    {"aboutDialogLic_next", &ABOUTDIALOG_S::aboutDialogLic_next},
    {"aboutDialogLic_page", &ABOUTDIALOG_S::aboutDialogLic_page},
};

/// A viewer's files and the parts that are no widgets.
struct Viewer {
    const char* interfaceFile;
    const char* textFile;
    const char* bufferId;
    const char* adjustmentId;
    GtkTextBuffer* ABOUTDIALOG_S::*buffer;
    GtkAdjustment* ABOUTDIALOG_S::*adjustment;
    TextPages* pages;
    GtkWidget* ABOUTDIALOG_S::*view;
    GtkWidget* ABOUTDIALOG_S::*frame;
    GtkWidget* ABOUTDIALOG_S::*number;
    GtkWidget* ABOUTDIALOG_S::*previous;
    GtkWidget* ABOUTDIALOG_S::*next;
};

TextPages regulatoryPages;
TextPages licensePages;

constexpr Viewer regulatoryViewer = {"./resources/aboutDialogRegulatory.ui",
                                     "./resources/regulatory.txt",
                                     "aboutDialogRegTextbuffer",
                                     "aboutDialogRegVadjustment",
                                     &ABOUTDIALOG_S::aboutDialogRegTextbuffer,
                                     &ABOUTDIALOG_S::aboutDialogRegVadjustment,
                                     &regulatoryPages,
                                     &ABOUTDIALOG_S::aboutDialogRegTextview,
                                     &ABOUTDIALOG_S::aboutDialogRegScrolledWindow,
                                     &ABOUTDIALOG_S::aboutDialogReg_page,
                                     &ABOUTDIALOG_S::aboutDialogReg_previous,
                                     &ABOUTDIALOG_S::aboutDialogReg_next};
constexpr Viewer licenseViewer = {"./resources/aboutDialogLicense.ui",
                                  "./resources/license.txt",
                                  "aboutDialogLicTextbuffer",
                                  "aboutDialogLicVadjustment",
                                  &ABOUTDIALOG_S::aboutDialogLicTextbuffer,
                                  &ABOUTDIALOG_S::aboutDialogLicVadjustment,
                                  &licensePages,
                                  &ABOUTDIALOG_S::aboutDialogLicTextview,
                                  &ABOUTDIALOG_S::aboutDialogLicScrolledWindow,
                                  &ABOUTDIALOG_S::aboutDialogLic_page,
                                  &ABOUTDIALOG_S::aboutDialogLic_previous,
                                  &ABOUTDIALOG_S::aboutDialogLic_next};

void closeParts(std::span<const Part> parts) {
    if (about == nullptr) {
        return;
    }
    Dialog_close(&(about->*parts[0].widget));
    for (const Part& part : parts) {
        about->*part.widget = nullptr;
    }
}

/// Loads a dialog into the record; null, with a diagnostic, if it cannot be loaded or lacks a part:
/// without its OK button it could not be left.
GtkBuilder* loadParts(const char* file, std::span<const Part> parts,
                      std::span<const DialogHandler> handlers) {
    GtkBuilder* builder = Dialog_load(file, handlers.data(), handlers.size());
    if (builder == nullptr) {
        return nullptr;
    }
    bool isComplete = true;
    for (const Part& part : parts) {
        about->*part.widget = Dialog_widget(builder, part.id);
        isComplete = isComplete && about->*part.widget != nullptr;
    }
    if (!isComplete) {
        closeParts(parts);
        g_object_unref(builder);
        return nullptr;
    }
    return builder;
}

void showText(GtkTextBuffer* buffer, const char* file) {
    gchar* text = nullptr;
    gsize length = 0;
    GError* error = nullptr;
    if (!g_file_get_contents(file, &text, &length, &error)) {
        DIAGNOSTIC("g_file_get_contents() failed: %s\n", error->message);
        g_error_free(error);
        return;
    }
    gchar* valid = g_utf8_make_valid(text, static_cast<gssize>(length));
    gtk_text_buffer_set_text(buffer, valid, -1);
    g_free(valid);
    g_free(text);
}

void beginPages(const Viewer& viewer) {
    viewer.pages->view = about->*viewer.view;
    viewer.pages->frame = about->*viewer.frame;
    viewer.pages->number = about->*viewer.number;
    viewer.pages->previous = about->*viewer.previous;
    viewer.pages->next = about->*viewer.next;
    TextPages_begin(viewer.pages);
}

void openViewer(const Viewer& viewer, std::span<const Part> parts,
                std::span<const DialogHandler> handlers) {
    if (about == nullptr) {
        return;
    }
    closeParts(parts);
    GtkBuilder* builder = loadParts(viewer.interfaceFile, parts, handlers);
    if (builder == nullptr) {
        return;
    }
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(gtk_builder_get_object(builder, viewer.bufferId));
    about->*viewer.buffer = buffer;
    about->*viewer.adjustment =
        GTK_ADJUSTMENT(gtk_builder_get_object(builder, viewer.adjustmentId));
    if (buffer != nullptr) {
        showText(buffer, viewer.textFile);
    }
    Dialog_showAbove(about->*parts[0].widget);
    beginPages(viewer);
    g_object_unref(builder);
}

} // namespace

void initAbout() {
    if (about == nullptr) {
        about = static_cast<ABOUTDIALOG_S*>(calloc(1, sizeof *about));
    }
    if (about == nullptr) {
        DIAGNOSTIC("%s: about malloc failed\n", __func__);
        Process_leave(processStatusFatal);
    }
    const InstrumentIdentity& identity = InstrumentIdentity_get();
    snprintf(about->modelNum, sizeof about->modelNum, "%s", identity.modelNumber);
    snprintf(about->serialNum, sizeof about->serialNum, "%s", identity.serialNumber);
    About_formatVersion(getFwVersion(), about->fwVersion);
}

void About_formatVersion(const char* version, char (&text)[aboutVersionSize]) {
    char words[3][aboutVersionSize] = {};
    for (auto& word : words) {
        version += strspn(version, " ");
        const size_t length = strcspn(version, " ");
        snprintf(word, sizeof word, "%.*s", static_cast<int>(MIN(length, sizeof word - 1)),
                 version);
        version += length;
    }
    text[0] = '\0';
    const char* const pieces[] = {words[0], " ", words[1], "\n", words[2]};
    for (const char* piece : pieces) {
        const size_t length = strlen(text);
        snprintf(text + length, sizeof text - length, "%s", piece);
    }
}

void About_showIdentity(std::span<const DialogHandler> handlers) {
    if (about == nullptr) {
        return;
    }
    aboutDialog_Close();
    GtkBuilder* builder = loadParts("./resources/aboutDialog.ui", identityParts, handlers);
    if (builder == nullptr) {
        return;
    }
    gtk_label_set_text(GTK_LABEL(about->aboutDialogLabelModelStr), about->modelNum);
    gtk_label_set_text(GTK_LABEL(about->aboutDialogLabelSerialStr), about->serialNum);
    gtk_label_set_text(GTK_LABEL(about->aboutDialogLabelFwRevStr), about->fwVersion);
    Dialog_showAbove(about->aboutDialog);
    g_object_unref(builder);
}

void About_showRegulatory(std::span<const DialogHandler> handlers) {
    openViewer(regulatoryViewer, regulatoryParts, handlers);
}

void About_showLicense(std::span<const DialogHandler> handlers) {
    openViewer(licenseViewer, licenseParts, handlers);
}

void aboutDialog_Close() {
    closeParts(identityParts);
}

void aboutDialogRegulatory_Close() {
    closeParts(regulatoryParts);
    if (about != nullptr) {
        about->aboutDialogRegTextbuffer = nullptr;
        about->aboutDialogRegVadjustment = nullptr;
    }
}

void aboutDialogLicense_Close() {
    closeParts(licenseParts);
    if (about != nullptr) {
        about->aboutDialogLicTextbuffer = nullptr;
        about->aboutDialogLicVadjustment = nullptr;
    }
}
