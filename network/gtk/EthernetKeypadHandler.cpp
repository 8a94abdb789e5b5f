#include "EthernetKeypadHandler.h"

#include "AppFlags.h"
#include "GtkHelpers.h"

#include <algorithm>
#include <cstring>

struct numKeypad ethernetKeypad;

namespace {

constexpr char targetClass[] = "target";

/// The target was chosen by a touch, not by the dialog or by "Next".
bool isTouched = false;

constexpr char keyPrefix[] = "numKeypadButton";
constexpr char nextKey[] = "Next"; ///< no event of the keypad

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

const char* targetText() {
    return gtk_entry_get_text(GTK_ENTRY(ethernetKeypad.currentNumPadTarget));
}

bool hasSelection() {
    return gtk_editable_get_selection_bounds(editable(), nullptr, nullptr) != FALSE;
}

void noteState() {
    ethernetKeypad.textIsSelected = hasSelection();
    ethernetKeypad.position = gtk_editable_get_position(editable());
    ethernetKeypad.len = gtk_entry_get_text_length(GTK_ENTRY(ethernetKeypad.currentNumPadTarget));
}

/// Writes the keypad's text into the entry that it edits.
void updateTarget(const char* text, bool isSelected) {
    gtk_entry_set_text(GTK_ENTRY(ethernetKeypad.currentNumPadTarget), text);
    if (isSelected) {
        gtk_editable_select_region(editable(), 0, -1);
    } else {
        gtk_editable_set_position(editable(), static_cast<int>(ethernetKeypad.manager.position));
    }
    noteState();
}

/// A touch or a keyboard may have moved the cursor or changed the entry since the last key.
void followEntry() {
    CKeypadManager_Instance* manager = &ethernetKeypad.manager;
    if (strcmp(targetText(), manager->targetText) != 0) {
        CKeypadManager_HandleEditedText(manager, targetText());
    }
    if (!hasSelection()) {
        const int position = gtk_editable_get_position(editable());
        CKeypadManager_HandleCursor(manager, static_cast<size_t>(position));
    } else if (manager->state != keyPadSelected) {
        // A finger that was drawn over a part selects all of it.
        CKeypadManager_HandleNextField(manager, targetText());
        gtk_editable_select_region(editable(), 0, -1);
    }
}

void goToNextEntry() {
    const auto next = static_cast<size_t>(ethernetKeypad.entryIndex + 1) % ethernetEntryCount;
    EthernetKeypad_setTarget(ethernetKeypad.entryList[next]);
}

void on_numKeypadButton_clicked(GtkWidget* button, gpointer /*data*/) {
    if (!gtk_init_done || ethernetKeypad.currentNumPadTarget == nullptr) {
        return;
    }
    const char* key = gtk_widget_get_name(button) + strlen(keyPrefix);
    if (strcmp(key, nextKey) == 0) {
        goToNextEntry();
        return;
    }
    const auto event = CKeypadManager_keyEvent(key);
    if (event) {
        followEntry();
        CKeypadManager_HandleEvent(&ethernetKeypad.manager, *event);
    }
}

/// The first touch of an entry selects its text; a further one sets the cursor.
gboolean on_ethSettingsEntry_button_release_event(GtkWidget* entry, GdkEvent* /*event*/,
                                                  gpointer /*data*/) {
    if (gtk_init_done && gtk_widget_get_sensitive(entry)) {
        if (entry != ethernetKeypad.currentNumPadTarget || !isTouched) {
            EthernetKeypad_setTarget(entry);
            isTouched = true;
        } else {
            followEntry();
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

/// Without an entry to write to the keys keep their place, but do not answer.
void display(bool isDisplayed) {
    ethernetKeypad.isNumpadDisplayed = isDisplayed;
    gtk_widget_set_sensitive(ethernetKeypad.numKeypadTable, isDisplayed);
}

} // namespace

void EthernetKeypad_begin(GtkBuilder* builder,
                          const std::array<GtkWidget*, ethernetEntryCount>& entries) {
    ethernetKeypad = {};
    ethernetKeypad.entryList = entries;
    ethernetKeypad.numKeypadTable = Dialog_widget(builder, "numKeypadTable");
    CKeypadManager_Create(&ethernetKeypad.manager, updateTarget, keypadAddress);
    for (const KeyImage& image : keyImages) {
        Dialog_setPicture(builder, image.id, image.file);
    }
    display(false);
}

void EthernetKeypad_setTarget(GtkWidget* entry) {
    if (ethernetKeypad.currentNumPadTarget != nullptr) {
        setWidgetClass(ethernetKeypad.currentNumPadTarget, targetClass, false);
        // A touch inside a selection would take hold of it instead of the entry.
        gtk_editable_select_region(editable(), 0, 0);
    }
    ethernetKeypad.currentNumPadTarget = entry;
    isTouched = false;
    display(entry != nullptr);
    if (entry == nullptr) {
        return;
    }
    const auto place = std::ranges::find(ethernetKeypad.entryList, entry);
    ethernetKeypad.entryIndex = static_cast<int>(place - ethernetKeypad.entryList.begin());
    setWidgetClass(entry, targetClass, true);
    CKeypadManager_HandleNextField(&ethernetKeypad.manager, targetText());
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
