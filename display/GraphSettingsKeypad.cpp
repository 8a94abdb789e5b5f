#include "GraphSettingsKeypad.h"

#include "AppFlags.h"
#include "CKeypadManager.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr std::array<const char*, 5> entryOrder = {"graphSettingsRangeMin", "graphSettingsRangeMax",
                                                   "graphSettingsLimitMin", "graphSettingsLimitMax",
                                                   "graphSettingsAverageCount"};

std::array<GtkWidget*, entryOrder.size()> entries;
GtkWidget* target = nullptr;
void (*entryLeft)(GtkWidget* entry) = nullptr;
CKeypadManager_Instance keypad;

/// Style class of the entry that the keypad edits.
constexpr char targetClass[] = "target";

constexpr char keyPrefix[] = "graphNumKeypadButton";
constexpr char nextKey[] = "Next"; ///< no event of the keypad

/// Writes the keypad's text into the entry that it edits.
void updateTarget(const char* text, bool isSelected) {
    if (target == nullptr) {
        return;
    }
    gtk_entry_set_text(GTK_ENTRY(target), text);
    if (isSelected) {
        gtk_editable_select_region(GTK_EDITABLE(target), 0, -1);
    } else {
        gtk_editable_set_position(GTK_EDITABLE(target), -1);
    }
}

/// A keyboard may have changed the entry since the last key.
void takeTypedText() {
    const char* text = gtk_entry_get_text(GTK_ENTRY(target));
    if (strcmp(text, keypad.targetText) != 0) {
        CKeypadManager_HandleEditedText(&keypad, text);
    }
}

void on_keypadButton_clicked(GtkWidget* button, gpointer /*data*/) {
    if (!gtk_init_done || target == nullptr) {
        return;
    }
    const char* key = gtk_buildable_get_name(GTK_BUILDABLE(button)) + strlen(keyPrefix);
    if (strcmp(key, nextKey) == 0) {
        setNextEntryWidget();
        return;
    }
    const auto event = CKeypadManager_keyEvent(key);
    if (event) {
        takeTypedText();
        CKeypadManager_HandleEvent(&keypad, *event);
    }
}

/// The first entry that appears is the first target.
void on_graphSettingsEntry_show(GtkWidget* entry, gpointer /*data*/) {
    if (gtk_init_done && target == nullptr) {
        GraphSettingsKeypad_setTarget(entry);
    }
}

gboolean on_graphSettingsEntry_focus_in_event(GtkWidget* entry, GdkEvent* /*event*/,
                                              gpointer /*data*/) {
    if (gtk_init_done && entry != target) {
        GraphSettingsKeypad_setTarget(entry);
    }
    return FALSE;
}

/// A touch always selects the whole text; the entry's own handling of the pointer would put a
/// cursor into it.
gboolean on_graphSettingsEntry_button_press_event(GtkWidget* entry, GdkEvent* /*event*/,
                                                  gpointer /*data*/) {
    if (gtk_init_done) {
        GraphSettingsKeypad_setTarget(entry);
    }
    return TRUE;
}

gboolean on_graphSettingsEntry_button_release_event(GtkWidget* /*entry*/, GdkEvent* /*event*/,
                                                    gpointer /*data*/) {
    return TRUE;
}

size_t indexOf(const GtkWidget* entry) {
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i] == entry) {
            return i;
        }
    }
    return entries.size() - 1;
}

void markTarget(bool isTarget) {
    GtkStyleContext* context = gtk_widget_get_style_context(target);
    if (isTarget) {
        gtk_style_context_add_class(context, targetClass);
    } else {
        gtk_style_context_remove_class(context, targetClass);
        gtk_editable_select_region(GTK_EDITABLE(target), 0, 0);
    }
}

const DialogHandler handlers[] = {
    {"on_keypadButton_clicked", G_CALLBACK(on_keypadButton_clicked)},
    {"on_graphSettingsEntry_show", G_CALLBACK(on_graphSettingsEntry_show)},
    {"on_graphSettingsEntry_focus_in_event", G_CALLBACK(on_graphSettingsEntry_focus_in_event)},
    {"on_graphSettingsEntry_button_press_event",
     G_CALLBACK(on_graphSettingsEntry_button_press_event)},
    {"on_graphSettingsEntry_button_release_event",
     G_CALLBACK(on_graphSettingsEntry_button_release_event)},
};

} // namespace

std::span<const DialogHandler> GraphSettingsKeypad_handlers() {
    return handlers;
}

void initializeEntryOrder(GtkBuilder* builder, void (*leaveEntry)(GtkWidget* entry)) {
    entryLeft = leaveEntry;
    for (size_t i = 0; i < entries.size(); ++i) {
        entries[i] = GTK_WIDGET(gtk_builder_get_object(builder, entryOrder[i]));
        if (entries[i] != nullptr) {
            Dialog_fitEntry(entries[i]);
        }
    }
    CKeypadManager_Create(&keypad, updateTarget, keypadNumber);
}

void GraphSettingsKeypad_setTarget(GtkWidget* entry) {
    if (target != nullptr && target != entry) {
        markTarget(false);
        entryLeft(target);
    }
    target = entry;
    if (target == nullptr) {
        return;
    }
    markTarget(true);
    CKeypadManager_HandleNextField(&keypad, gtk_entry_get_text(GTK_ENTRY(target)));
    gtk_widget_grab_focus(target);
    gtk_editable_select_region(GTK_EDITABLE(target), 0, -1);
}

void setNextEntryWidget() {
    size_t index = indexOf(target);
    for (size_t step = 0; step < entries.size(); ++step) {
        index = (index + 1) % entries.size();
        if (entries[index] != nullptr && gtk_widget_get_sensitive(entries[index])) {
            GraphSettingsKeypad_setTarget(entries[index]);
            return;
        }
    }
}

void GraphSettingsKeypad_keepTargetUsable() {
    if (target != nullptr && !gtk_widget_get_sensitive(target)) {
        setNextEntryWidget();
    }
}

GtkWidget* GraphSettingsKeypad_emptyEntry() {
    const auto* empty = std::ranges::find_if(entries, [](GtkWidget* entry) {
        return entry != nullptr && gtk_widget_get_sensitive(entry) && !Dialog_holdsNumber(entry);
    });
    return empty != entries.end() ? *empty : nullptr;
}
