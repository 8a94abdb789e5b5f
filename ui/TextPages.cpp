#include "TextPages.h"

#include "AppFlags.h"
#include "GtkHelpers.h"

#include <cstdio>

namespace {

/// Room for the text's lines, in pixels.
struct Room {
    int width;
    int height;
};

Room roomOf(const TextPages& pages) {
    Room room{};
    gtk_widget_get_size_request(pages.frame, &room.width, &room.height);
    GtkTextView* view = GTK_TEXT_VIEW(pages.view);
    room.width -= gtk_text_view_get_left_margin(view) + gtk_text_view_get_right_margin(view);
    room.height -= gtk_text_view_get_top_margin(view) + gtk_text_view_get_bottom_margin(view);
    return room;
}

/// Characters before each page. A line that does not fit whole begins the next one.
std::vector<int> breakIntoPages(PangoLayout* layout, const char* text, int height) {
    std::vector<int> starts = {0};
    int used = 0;
    PangoLayoutIter* lines = pango_layout_get_iter(layout);
    do {
        PangoRectangle extents{};
        pango_layout_iter_get_line_extents(lines, nullptr, &extents);
        const int lineHeight = PANGO_PIXELS_CEIL(extents.height);
        if (used > 0 && used + lineHeight > height) {
            const PangoLayoutLine* line = pango_layout_iter_get_line_readonly(lines);
            starts.push_back(
                static_cast<int>(g_utf8_pointer_to_offset(text, text + line->start_index)));
            used = 0;
        }
        used += lineHeight;
    } while (pango_layout_iter_next_line(lines) != FALSE);
    pango_layout_iter_free(lines);
    return starts;
}

std::vector<int> startsOf(const TextPages& pages) {
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(pages.view));
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    gchar* text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
    const Room room = roomOf(pages);
    PangoLayout* layout = gtk_widget_create_pango_layout(pages.view, text);
    pango_layout_set_width(layout, room.width * PANGO_SCALE);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD);
    std::vector<int> starts = breakIntoPages(layout, text, room.height);
    starts.push_back(gtk_text_buffer_get_char_count(buffer));
    g_object_unref(layout);
    g_free(text);
    return starts;
}

size_t pageCount(const TextPages& pages) {
    return pages.starts.size() - 1;
}

void hide(GtkTextBuffer* buffer, GtkTextTag* tag, int from, int to) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_iter_at_offset(buffer, &start, from);
    gtk_text_buffer_get_iter_at_offset(buffer, &end, to);
    gtk_text_buffer_apply_tag(buffer, tag, &start, &end);
}

void showPage(TextPages* pages, size_t page) {
    constexpr char tagName[] = "hidden";
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(pages->view));
    GtkTextTag* tag = gtk_text_tag_table_lookup(gtk_text_buffer_get_tag_table(buffer), tagName);
    if (tag == nullptr) {
        tag = gtk_text_buffer_create_tag(buffer, tagName, "invisible", TRUE, nullptr);
    }
    pages->page = page;
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    gtk_text_buffer_remove_tag(buffer, tag, &start, &end);
    hide(buffer, tag, 0, pages->starts[page]);
    hide(buffer, tag, pages->starts[page + 1], pages->starts.back());
    char text[32];
    std::snprintf(text, sizeof text, "Page %zu of %zu", page + 1, pageCount(*pages));
    setLabelText(pages->number, text);
    gtk_widget_set_sensitive(pages->previous, page > 0);
    gtk_widget_set_sensitive(pages->next, page + 1 < pageCount(*pages));
}

void tapPrevious(GtkWidget* /*button*/, gpointer data) {
    auto* pages = static_cast<TextPages*>(data);
    if (gtk_init_done && pages->page > 0) {
        showPage(pages, pages->page - 1);
    }
}

void tapNext(GtkWidget* /*button*/, gpointer data) {
    auto* pages = static_cast<TextPages*>(data);
    if (gtk_init_done && pages->page + 1 < pageCount(*pages)) {
        showPage(pages, pages->page + 1);
    }
}

} // namespace

void TextPages_begin(TextPages* pages) {
    pages->starts = startsOf(*pages);
    g_signal_connect(pages->previous, "clicked", G_CALLBACK(tapPrevious), pages);
    g_signal_connect(pages->next, "clicked", G_CALLBACK(tapNext), pages);
    showPage(pages, 0);
}
