#include "GraphSettingsUtilities.h"

#include "GdkLock.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

double GraphSettingsUtilities_entryValue(GtkEntry* entry) {
    GdkLock_assertHeld();
    // The decimal mark is a point, whatever the desktop's is.
    const double value = g_ascii_strtod(gtk_entry_get_text(entry), nullptr);
    return std::isfinite(value) ? value : 0.0;
}

void formatValueForEntry(GtkEntry* entry, double value, uint32_t digits) {
    char text[32];
    formatValueForEntry(std::span<char>(text), value, digits);
    gtk_entry_set_text(entry, text);
}

void GraphSettingsUtilities_showValue(GtkEntry* entry, double value, uint32_t digits) {
    char text[32];
    formatValueForEntry(std::span<char>(text), value, digits);
    const bool isZero = std::strpbrk(text, "123456789") == nullptr;
    char signedText[40];
    std::snprintf(signedText, sizeof signedText, "%s%s",
                  value < 0.0 && text[0] != '-' && !isZero ? "-" : "", text);
    gtk_entry_set_text(entry, signedText);
}

void validateEntry(GtkEntry* entry, uint32_t digits, double min, double max) {
    GraphSettingsUtilities_showValue(
        entry, std::clamp(GraphSettingsUtilities_entryValue(entry), min, max), digits);
}
