#include "EthernetKeypadHandler.h"

#include "AppFlags.h"

#include <algorithm>
#include <cstring>

struct numKeypad ethernetKeypad;

namespace {

constexpr char targetClass[] = "target";
constexpr char keyName[] = "numKeypadButton";

struct KeyImage {
    const char* id;
    const char* file;
};

constexpr KeyImage keyImages[] = {
    {"numKeypadImageClear", "./resources/graphKeypadClear.png"},
    {"numKeypadImageBackspace", "./resources/graphKeypadBackspace.png"},
    {"numKeypadImageNext", "./resources/graphKeypadNext.png"},
};

GtkEditable* editable() {
    return GTK_EDITABLE(ethernetKeypad.currentNumPadTarget);
}

void noteState() {
    ethernetKeypad.textIsSelected = gtk_editable_get_selection_bounds(editable(), nullptr, nullptr);
    ethernetKeypad.position = gtk_editable_get_position(editable());
    ethernetKeypad.len = gtk_entry_get_text_length(GTK_ENTRY(ethernetKeypad.currentNumPadTarget));
}

void insertCharacter(char character) {
    gtk_editable_delete_selection(editable());
    int position = gtk_editable_get_position(editable());
    // Terminated whatever the length says: the toolkit copies it as a text.
    const char text[] = {character, '\0'};
    gtk_editable_insert_text(editable(), text, 1, &position);
    gtk_editable_set_position(editable(), position);
}

void deleteBackwards() {
    if (gtk_editable_get_selection_bounds(editable(), nullptr, nullptr)) {
        gtk_editable_delete_selection(editable());
        return;
    }
    const int position = gtk_editable_get_position(editable());
    if (position > 0) {
        gtk_editable_delete_text(editable(), position - 1, position);
    }
}

void goToNextEntry() {
    const auto next = static_cast<size_t>(ethernetKeypad.entryIndex + 1) % ethernetEntryCount;
    EthernetKeypad_setTarget(ethernetKeypad.entryList[next]);
}

/// Does what a key says: a digit, or its name.
void applyKey(const char* key) {
    if (strcmp(key, "Clear") == 0) {
        gtk_editable_delete_text(editable(), 0, -1);
    } else if (strcmp(key, "Backspace") == 0) {
        deleteBackwards();
    } else if (strcmp(key, "Next") == 0) {
        goToNextEntry();
    } else if (strcmp(key, "Period") == 0) {
        insertCharacter('.');
    } else {
        insertCharacter(*key);
    }
}

void on_numKeypadButton_clicked(GtkWidget* button, gpointer /*data*/) {
    if (gtk_init_done && ethernetKeypad.currentNumPadTarget != nullptr) {
        applyKey(gtk_widget_get_name(button) + strlen(keyName));
        noteState();
    }
}

/// The first touch of an entry selects its text; a further one sets the cursor.
gboolean on_ethSettingsEntry_button_release_event(GtkWidget* entry, GdkEvent* /*event*/,
                                                  gpointer /*data*/) {
    if (gtk_init_done && gtk_widget_get_sensitive(entry)) {
        if (entry != ethernetKeypad.currentNumPadTarget) {
            EthernetKeypad_setTarget(entry);
        } else {
            noteState();
        }
    }
    return FALSE;
}

void on_ethSettingsEntry_changed(GtkWidget* entry, gpointer /*data*/) {
    if (entry == ethernetKeypad.currentNumPadTarget && entry != nullptr) {
        noteState();
    }
}

const DialogHandler handlers[] = {
    {"on_numKeypadButton_clicked", G_CALLBACK(on_numKeypadButton_clicked)},
    {"on_ethSettingsEntry_button_release_event",
     G_CALLBACK(on_ethSettingsEntry_button_release_event)},
    {"on_ethSettingsEntry_changed", G_CALLBACK(on_ethSettingsEntry_changed)},
};

/// The keys keep their place while they are not shown, so that the dialog does not move.
void display(bool isDisplayed) {
    ethernetKeypad.isNumpadDisplayed = isDisplayed;
    gtk_widget_set_opacity(ethernetKeypad.numKeypadTable, isDisplayed ? 1.0 : 0.0);
    gtk_widget_set_sensitive(ethernetKeypad.numKeypadTable, isDisplayed);
}

void mark(GtkWidget* entry, bool isTarget) {
    GtkStyleContext* style = gtk_widget_get_style_context(entry);
    if (isTarget) {
        gtk_style_context_add_class(style, targetClass);
    } else {
        gtk_style_context_remove_class(style, targetClass);
    }
}

} // namespace

void EthernetKeypad_begin(GtkBuilder* builder,
                          const std::array<GtkWidget*, ethernetEntryCount>& entries) {
    ethernetKeypad = {};
    ethernetKeypad.entryList = entries;
    ethernetKeypad.numKeypadTable = Dialog_widget(builder, "numKeypadTable");
    for (const KeyImage& image : keyImages) {
        GtkWidget* widget = Dialog_widget(builder, image.id);
        GdkPixbuf* picture = gdk_pixbuf_new_from_file(image.file, nullptr);
        if (widget != nullptr && picture != nullptr) {
            gtk_image_set_from_pixbuf(GTK_IMAGE(widget), picture);
        }
        g_clear_object(&picture);
    }
    display(false);
}

void EthernetKeypad_setTarget(GtkWidget* entry) {
    if (ethernetKeypad.currentNumPadTarget != nullptr) {
        mark(ethernetKeypad.currentNumPadTarget, false);
        // A touch inside a selection would take hold of it instead of the entry.
        gtk_editable_select_region(editable(), 0, 0);
    }
    ethernetKeypad.currentNumPadTarget = entry;
    display(entry != nullptr);
    if (entry == nullptr) {
        return;
    }
    const auto place = std::ranges::find(ethernetKeypad.entryList, entry);
    ethernetKeypad.entryIndex = static_cast<int>(place - ethernetKeypad.entryList.begin());
    mark(entry, true);
    gtk_widget_grab_focus(entry);
    gtk_editable_select_region(editable(), 0, -1);
    noteState();
}

void EthernetKeypad_end() {
    ethernetKeypad = {};
}

std::span<const DialogHandler> EthernetKeypad_handlers() {
    return handlers;
}
