#ifndef UI_TEXT_PAGES_H
#define UI_TEXT_PAGES_H

#include <gtk/gtk.h>

#include <cstddef>
#include <vector>

/// A long text that is read page by page, since nothing on the instrument's screen scrolls. Main
/// thread, GDK lock held.

struct TextPages {
    GtkWidget* view;     ///< text view that holds the whole text; all but one page is hidden in it
    GtkWidget* frame;    ///< what the view stands in: its size request is the room for a page
    GtkWidget* number;   ///< label
    GtkWidget* previous; ///< key
    GtkWidget* next;     ///< key
    std::vector<int> starts; ///< characters before each page, then those of the whole text
    size_t page;
};

/// Breaks the view's text into pages, between its lines, shows the first one and has the keys turn
/// them. The view has to be on the screen, and the record to last as long as the keys.
void TextPages_begin(TextPages* pages);

#endif
