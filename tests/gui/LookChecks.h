#ifndef TESTS_GUI_LOOK_CHECKS_H
#define TESTS_GUI_LOOK_CHECKS_H

#include "GuiHarness.h"
#include "ScreenSize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

/// What docs/design.md asks of everything that is shown, measured on what is on the screen.

constexpr int lookTarget_px = 48;
constexpr int lookGap_px = 8;
constexpr int lookText_px = 20;
constexpr double lookContrast = 4.5;

inline void Look_collect(GtkWidget* widget, gpointer data) {
    if (gtk_widget_get_mapped(widget)) {
        static_cast<std::vector<GtkWidget*>*>(data)->push_back(widget);
        if (GTK_IS_CONTAINER(widget)) {
            gtk_container_forall(GTK_CONTAINER(widget), Look_collect, data);
        }
    }
}

/// A window or screen and all in it that is shown.
inline std::vector<GtkWidget*> Look_shownIn(GtkWidget* root) {
    std::vector<GtkWidget*> widgets;
    Look_collect(root, &widgets);
    return widgets;
}

inline std::string Look_nameOf(GtkWidget* widget) {
    const char* text = GTK_IS_LABEL(widget)   ? gtk_label_get_text(GTK_LABEL(widget))
                       : GTK_IS_ENTRY(widget) ? gtk_entry_get_text(GTK_ENTRY(widget))
                                              : "";
    return std::string(gtk_widget_get_name(widget)) + " \"" + text + "\"";
}

/// A tab of a notebook, by the label on it.
inline bool Look_isTab(GtkWidget* widget) {
    GtkWidget* parent = gtk_widget_get_parent(widget);
    if (parent == nullptr || !GTK_IS_NOTEBOOK(parent)) {
        return false;
    }
    GtkNotebook* notebook = GTK_NOTEBOOK(parent);
    for (int page = 0; page < gtk_notebook_get_n_pages(notebook); ++page) {
        if (gtk_notebook_get_tab_label(notebook, gtk_notebook_get_nth_page(notebook, page)) ==
            widget) {
            return true;
        }
    }
    return false;
}

/// What a finger can aim at. A list is one target, with its key inside it.
inline std::vector<GtkWidget*> Look_targetsIn(GtkWidget* root) {
    std::vector<GtkWidget*> targets = Look_shownIn(root);
    std::erase_if(targets, [](GtkWidget* widget) {
        GtkWidget* parent = gtk_widget_get_parent(widget);
        const bool isTarget = GTK_IS_BUTTON(widget) || GTK_IS_ENTRY(widget) ||
                              GTK_IS_COMBO_BOX(widget) || Look_isTab(widget);
        const bool isInside =
            parent != nullptr && gtk_widget_get_ancestor(parent, GTK_TYPE_COMBO_BOX) != nullptr;
        return !isTarget || isInside;
    });
    return targets;
}

/// Where a finger meets a target. A tab has a frame around its label, which is no widget.
inline GdkRectangle Look_placeOfTarget(GtkWidget* target) {
    constexpr int frame_px = 1;
    constexpr int lowerFrame_px = 3;
    GdkRectangle place = Gui_place(target);
    if (Look_isTab(target)) {
        place.x -= frame_px;
        place.y -= frame_px;
        place.width += 2 * frame_px;
        place.height += frame_px + lowerFrame_px;
    }
    return place;
}

/// The way between two places, the longer of the horizontal and the vertical one.
inline int Look_gap(const GdkRectangle& a, const GdkRectangle& b) {
    const int across = std::max(b.x - (a.x + a.width), a.x - (b.x + b.width));
    const int down = std::max(b.y - (a.y + a.height), a.y - (b.y + b.height));
    return std::max(across, down);
}

/// Every target is large enough for a finger, and far enough from the next one.
inline void Look_expectTargets(GtkWidget* root) {
    const std::vector<GtkWidget*> targets = Look_targetsIn(root);
    EXPECT_FALSE(targets.empty());
    for (size_t i = 0; i < targets.size(); ++i) {
        const GdkRectangle place = Look_placeOfTarget(targets[i]);
        EXPECT_GE(place.width, lookTarget_px) << Look_nameOf(targets[i]);
        EXPECT_GE(place.height, lookTarget_px) << Look_nameOf(targets[i]);
        for (size_t j = i + 1; j < targets.size(); ++j) {
            EXPECT_GE(Look_gap(place, Look_placeOfTarget(targets[j])), lookGap_px)
                << Look_nameOf(targets[i]) << " and " << Look_nameOf(targets[j]);
        }
    }
}

/// What a label paints, on the screen.
inline GdkRectangle Look_inkOf(GtkWidget* label) {
    PangoRectangle ink{};
    pango_layout_get_pixel_extents(gtk_label_get_layout(GTK_LABEL(label)), &ink, nullptr);
    int x = 0;
    int y = 0;
    gtk_label_get_layout_offsets(GTK_LABEL(label), &x, &y);
    GtkAllocation place{};
    gtk_widget_get_allocation(label, &place);
    const GdkRectangle onScreen = Gui_place(label);
    return {onScreen.x - place.x + x + ink.x, onScreen.y - place.y + y + ink.y, ink.width,
            ink.height};
}

/// A text on the screen: what it paints, and the room that its widget has for it.
struct LookText {
    GtkWidget* widget;
    int lineHeight;
    GdkRectangle ink;
    GdkRectangle room;
};

inline int Look_lineHeight(PangoLayout* layout) {
    int height = 0;
    pango_layout_get_pixel_size(layout, nullptr, &height);
    return height / pango_layout_get_line_count(layout);
}

inline LookText Look_labelText(GtkWidget* label) {
    PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(label));
    EXPECT_EQ(pango_layout_is_ellipsized(layout), FALSE) << Look_nameOf(label);
    return {label, Look_lineHeight(layout), Look_inkOf(label), Gui_place(label)};
}

/// A widget's place without its frame and the padding inside it.
inline GdkRectangle Look_contentOf(GtkWidget* widget) {
    GtkStyleContext* style = gtk_widget_get_style_context(widget);
    const GtkStateFlags state = gtk_style_context_get_state(style);
    GtkBorder frame{};
    GtkBorder padding{};
    gtk_style_context_get_border(style, state, &frame);
    gtk_style_context_get_padding(style, state, &padding);
    const GdkRectangle place = Gui_place(widget);
    return {place.x + frame.left + padding.left, place.y + frame.top + padding.top,
            place.width - frame.left - padding.left - frame.right - padding.right,
            place.height - frame.top - padding.top - frame.bottom - padding.bottom};
}

inline LookText Look_entryText(GtkWidget* entry) {
    PangoLayout* layout = gtk_entry_get_layout(GTK_ENTRY(entry));
    PangoRectangle ink{};
    pango_layout_get_pixel_extents(layout, &ink, nullptr);
    int x = 0;
    int y = 0;
    gtk_entry_get_layout_offsets(GTK_ENTRY(entry), &x, &y);
    const GdkRectangle place = Gui_place(entry);
    return {entry,
            Look_lineHeight(layout),
            {place.x + x + ink.x, place.y + y + ink.y, ink.width, ink.height},
            Look_contentOf(entry)};
}

/// The line of a list, and what its key shows of it. Where its letters stand nobody tells: they
/// begin at the left, in the middle of the height.
inline LookText Look_cellText(GtkWidget* cell) {
    const GdkRectangle room = Gui_place(cell);
    GtkTreePath* path = gtk_cell_view_get_displayed_row(GTK_CELL_VIEW(cell));
    GtkTreeModel* model = gtk_cell_view_get_model(GTK_CELL_VIEW(cell));
    GtkTreeIter row;
    if (path == nullptr || !gtk_tree_model_get_iter(model, &row, path)) {
        gtk_tree_path_free(path);
        return {cell, 0, {}, room};
    }
    gtk_tree_path_free(path);
    gchar* text = nullptr;
    gtk_tree_model_get(model, &row, 0, &text, -1);
    PangoLayout* layout = gtk_widget_create_pango_layout(cell, text);
    g_free(text);
    PangoRectangle ink{};
    pango_layout_get_pixel_extents(layout, &ink, nullptr);
    const int lineHeight = Look_lineHeight(layout);
    const LookText seen = {
        cell,
        lineHeight,
        {room.x + ink.x, room.y + (room.height - lineHeight) / 2 + ink.y, ink.width, ink.height},
        room};
    g_object_unref(layout);
    return seen;
}

/// All texts of a window or screen; those of text views are looked at by themselves.
inline std::vector<LookText> Look_textsIn(GtkWidget* root) {
    std::vector<LookText> texts;
    for (GtkWidget* widget : Look_shownIn(root)) {
        if (GTK_IS_LABEL(widget)) {
            texts.push_back(Look_labelText(widget));
        } else if (GTK_IS_ENTRY(widget)) {
            texts.push_back(Look_entryText(widget));
        } else if (GTK_IS_CELL_VIEW(widget)) {
            texts.push_back(Look_cellText(widget));
        }
    }
    std::erase_if(texts, [](const LookText& text) { return text.ink.width == 0; });
    return texts;
}

/// Every text is large enough, differs from its ground, and is whole: figures may fill more than
/// their line, but nothing leaves the window. What does not answer may be faint.
inline void Look_expectTexts(GtkWidget* root) {
    GdkPixbuf* picture = Gui_picture();
    const GdkRectangle window = Gui_place(gtk_widget_get_toplevel(root));
    const std::vector<LookText> texts = Look_textsIn(root);
    EXPECT_FALSE(texts.empty());
    for (const LookText& text : texts) {
        const std::string name = Look_nameOf(text.widget);
        EXPECT_GE(text.lineHeight, lookText_px) << name;
        EXPECT_LE(text.ink.width, text.room.width) << name;
        EXPECT_GE(text.ink.x, std::max(text.room.x - 1, window.x)) << name;
        EXPECT_GE(text.ink.y, window.y) << name;
        EXPECT_LE(text.ink.y + text.ink.height, window.y + window.height) << name;
        if (gtk_widget_is_sensitive(text.widget) != FALSE) {
            EXPECT_GE(Gui_contrastIn(picture, text.room), lookContrast) << name;
        }
    }
    g_object_unref(picture);
}

/// Written text in a view: large enough, different from its ground, and whole where it is not cut
/// into pages.
inline void Look_expectTextView(GtkWidget* view) {
    GtkTextIter last;
    gtk_text_buffer_get_end_iter(gtk_text_view_get_buffer(GTK_TEXT_VIEW(view)), &last);
    if (!gtk_text_iter_backward_char(&last)) {
        return;
    }
    GdkRectangle letter{};
    do { // what is on other pages has no height
        gtk_text_view_get_iter_location(GTK_TEXT_VIEW(view), &last, &letter);
    } while (letter.height == 0 && gtk_text_iter_backward_char(&last) != 0);
    EXPECT_GE(letter.height, lookText_px) << Look_nameOf(view);
    if (gtk_widget_get_ancestor(view, GTK_TYPE_SCROLLED_WINDOW) == nullptr) {
        int bottom = 0;
        gtk_text_view_buffer_to_window_coords(GTK_TEXT_VIEW(view), GTK_TEXT_WINDOW_WIDGET, 0,
                                              letter.y + letter.height, nullptr, &bottom);
        EXPECT_LE(bottom, gtk_widget_get_allocated_height(view)) << Look_nameOf(view);
    }
    EXPECT_GE(Gui_contrast(view), lookContrast) << Look_nameOf(view);
}

/// What a key's picture paints, on the screen.
inline GdkRectangle Look_inkOfPicture(GtkWidget* image) {
    constexpr int faint = 32;
    GdkPixbuf* picture = gtk_image_get_pixbuf(GTK_IMAGE(image));
    if (picture == nullptr || !gdk_pixbuf_get_has_alpha(picture)) {
        return {};
    }
    int left = gdk_pixbuf_get_width(picture);
    int top = gdk_pixbuf_get_height(picture);
    int right = -1;
    int bottom = -1;
    const guint8* pixels = gdk_pixbuf_read_pixels(picture);
    for (int y = 0; y < gdk_pixbuf_get_height(picture); ++y) {
        for (int x = 0; x < gdk_pixbuf_get_width(picture); ++x) {
            if (pixels[y * gdk_pixbuf_get_rowstride(picture) + x * 4 + 3] > faint) {
                left = std::min(left, x);
                top = std::min(top, y);
                right = std::max(right, x);
                bottom = std::max(bottom, y);
            }
        }
    }
    const GdkRectangle place = Gui_place(image);
    return {place.x + (place.width - gdk_pixbuf_get_width(picture)) / 2 + left,
            place.y + (place.height - gdk_pixbuf_get_height(picture)) / 2 + top, right - left + 1,
            bottom - top + 1};
}

/// The words and pictures on a key keep away from the key's edges.
inline void Look_expectRoomAround(GtkWidget* key) {
    const GdkRectangle place = Gui_place(key);
    for (GtkWidget* widget : Look_shownIn(key)) {
        const GdkRectangle ink = GTK_IS_LABEL(widget)       ? Look_inkOf(widget)
                                 : GTK_IS_IMAGE(widget)     ? Look_inkOfPicture(widget)
                                 : GTK_IS_CELL_VIEW(widget) ? Look_cellText(widget).ink
                                                            : GdkRectangle{};
        if (ink.width <= 0) {
            continue;
        }
        const std::string name = Look_nameOf(key) + " " + Look_nameOf(widget);
        EXPECT_GE(ink.x - place.x, lookGap_px) << name;
        EXPECT_GE(ink.y - place.y, lookGap_px) << name;
        EXPECT_GE(place.x + place.width - ink.x - ink.width, lookGap_px) << name;
        EXPECT_GE(place.y + place.height - ink.y - ink.height, lookGap_px) << name;
    }
}

inline void Look_expectOnScreen(GtkWidget* window) {
    const GdkRectangle place = Gui_place(window);
    EXPECT_GE(place.x, 0);
    EXPECT_GE(place.y, 0);
    EXPECT_LE(place.x + place.width, screenWidth);
    EXPECT_LE(place.y + place.height, screenHeight);
}

/// A window or a screen that only tells something: it is whole on the screen, and so are its
/// texts.
inline void Look_expectTold(GtkWidget* root) {
    Gui_settle();
    Look_expectOnScreen(root);
    Look_expectTexts(root);
    for (GtkWidget* widget : Look_shownIn(root)) {
        if (GTK_IS_TEXT_VIEW(widget)) {
            Look_expectTextView(widget);
        }
    }
}

/// All that is asked of a window or a screen: its targets, and what stands on its keys, as well. A
/// box to tick has its text beside it.
inline void Look_expectShown(GtkWidget* root) {
    Look_expectTold(root);
    Look_expectTargets(root);
    for (GtkWidget* widget : Look_shownIn(root)) {
        const bool isBox =
            GTK_IS_CHECK_BUTTON(widget) && gtk_toggle_button_get_mode(GTK_TOGGLE_BUTTON(widget));
        if (GTK_IS_BUTTON(widget) && !isBox) {
            Look_expectRoomAround(widget);
        }
    }
}

/// A menu's rows, and the lines of an open list, stand close together: each has the room of a
/// target and of a gap. All of them are on the screen.
inline void Look_expectMenu(GtkWidget* menu) {
    Gui_settle();
    Look_expectOnScreen(menu);
    for (GtkWidget* widget : Look_shownIn(menu)) {
        if (GTK_IS_MENU_ITEM(widget)) {
            EXPECT_GE(Gui_place(widget).width, lookTarget_px + lookGap_px) << Look_nameOf(widget);
            EXPECT_GE(Gui_place(widget).height, lookTarget_px + lookGap_px) << Look_nameOf(widget);
        }
    }
    Look_expectTexts(menu);
}

/// The frame of an entry that was refused.
inline bool Look_hasRedFrame(GtkWidget* entry) {
    GtkStyleContext* style = gtk_widget_get_style_context(entry);
    GdkRGBA* frame = nullptr;
    gtk_style_context_get(style, gtk_style_context_get_state(style), "border-color", &frame,
                          nullptr);
    const bool isRed = frame->red > 0.9 && frame->green < 0.4 && frame->blue < 0.4;
    gdk_rgba_free(frame);
    return isRed;
}

/// Those of the entries that were refused, each name with a blank behind it.
inline std::string Look_refusedOf(const std::vector<std::string>& entries) {
    std::string refused;
    for (const std::string& name : entries) {
        refused += Look_hasRedFrame(Gui_widget(name)) ? name + " " : "";
    }
    return refused;
}

/// Where the letters of a label or an entry stand on the screen.
inline int Look_baseLine(GtkWidget* widget) {
    int y = 0;
    if (GTK_IS_ENTRY(widget)) {
        gtk_entry_get_layout_offsets(GTK_ENTRY(widget), nullptr, &y);
        return Gui_place(widget).y + y +
               PANGO_PIXELS(pango_layout_get_baseline(gtk_entry_get_layout(GTK_ENTRY(widget))));
    }
    gtk_label_get_layout_offsets(GTK_LABEL(widget), nullptr, &y);
    PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(widget));
    GtkAllocation place{};
    gtk_widget_get_allocation(widget, &place);
    return Gui_place(widget).y - place.y + y + PANGO_PIXELS(pango_layout_get_baseline(layout));
}

/// A value stands on the base line of its caption.
inline void Look_expectOneBaseLine(const std::string& caption, const std::string& value) {
    EXPECT_EQ(Look_baseLine(Gui_widget(caption)), Look_baseLine(Gui_widget(value)))
        << caption << " and " << value;
}

/// The key that does the dialog's work is at the right end, and the one that leaves it beside it.
inline void Look_expectLastKeys(const std::string& leaving, const std::string& doing) {
    const GdkRectangle left = Gui_place(Gui_widget(leaving));
    const GdkRectangle right = Gui_place(Gui_widget(doing));
    EXPECT_EQ(left.y, right.y);
    EXPECT_GE(right.x, left.x + left.width + lookGap_px);
    for (GtkWidget* target : Look_targetsIn(gtk_widget_get_toplevel(Gui_widget(doing)))) {
        const GdkRectangle place = Gui_place(target);
        EXPECT_TRUE(place.y != right.y || place.x <= right.x) << Look_nameOf(target);
    }
}

/// The names of a keypad's keys in reading order; empty for a key that it does not have.
using LookKeypad = std::vector<std::string>;

/// The keys of a keypad are as large, as far apart and in the same order as everywhere. A key that
/// it does not have has no width.
inline void Look_expectKeypadPlaces(const std::vector<GdkRectangle>& keys) {
    constexpr int columns = 3;
    constexpr int width_px = 92;
    constexpr int height_px = 80;
    ASSERT_EQ(keys.size(), 15U);
    for (size_t i = 0; i < keys.size(); ++i) {
        const GdkRectangle& place = keys[i];
        if (place.width == 0) {
            continue;
        }
        const auto column = static_cast<int>(i % columns);
        const auto row = static_cast<int>(i / columns);
        EXPECT_EQ(place.x, keys[0].x + column * (width_px + lookGap_px)) << i;
        EXPECT_EQ(place.y, keys[0].y + row * (height_px + lookGap_px)) << i;
        EXPECT_EQ(place.width, width_px) << i;
        EXPECT_EQ(place.height, height_px) << i;
    }
}

inline void Look_expectKeypad(const LookKeypad& keys) {
    std::vector<GdkRectangle> places;
    for (const std::string& key : keys) {
        places.push_back(key.empty() ? GdkRectangle{} : Gui_place(Gui_widget(key)));
    }
    Look_expectKeypadPlaces(places);
}

/// Keys that are named alike named alike; `words` are the last five: sign, point, clear, back,
/// next.
inline LookKeypad Look_keypadOf(const std::string& prefix, const std::vector<std::string>& words) {
    LookKeypad keys;
    for (const char* digit : {"7", "8", "9", "4", "5", "6", "1", "2", "3"}) {
        keys.push_back(prefix + digit);
    }
    keys.push_back(words[0].empty() ? "" : prefix + words[0]);
    keys.push_back(prefix + "0");
    for (size_t i = 1; i < words.size(); ++i) {
        keys.push_back(prefix + words[i]);
    }
    return keys;
}

#endif
