#ifndef TESTS_GUI_LOOK_CHECKS_H
#define TESTS_GUI_LOOK_CHECKS_H

#include "GuiHarness.h"
#include "ScreenSize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
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
    return GTK_IS_LABEL(widget) ? std::string(gtk_widget_get_name(widget)) + " \"" +
                                      gtk_label_get_text(GTK_LABEL(widget)) + "\""
                                : gtk_widget_get_name(widget);
}

/// What a finger can aim at. A list is one target, with its key inside it.
inline std::vector<GtkWidget*> Look_targetsIn(GtkWidget* root) {
    std::vector<GtkWidget*> targets = Look_shownIn(root);
    std::erase_if(targets, [](GtkWidget* widget) {
        GtkWidget* parent = gtk_widget_get_parent(widget);
        const bool isTarget =
            GTK_IS_BUTTON(widget) || GTK_IS_ENTRY(widget) || GTK_IS_COMBO_BOX(widget);
        const bool isInside =
            parent != nullptr && gtk_widget_get_ancestor(parent, GTK_TYPE_COMBO_BOX) != nullptr;
        return !isTarget || isInside;
    });
    return targets;
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
        const GdkRectangle place = Gui_place(targets[i]);
        EXPECT_GE(place.width, lookTarget_px) << Look_nameOf(targets[i]);
        EXPECT_GE(place.height, lookTarget_px) << Look_nameOf(targets[i]);
        for (size_t j = i + 1; j < targets.size(); ++j) {
            EXPECT_GE(Look_gap(place, Gui_place(targets[j])), lookGap_px)
                << Look_nameOf(targets[i]) << " and " << Look_nameOf(targets[j]);
        }
    }
}

/// Every text is large enough, differs from its ground, and is whole. What does not answer may be
/// faint.
inline void Look_expectTexts(GtkWidget* root) {
    int texts = 0;
    for (GtkWidget* widget : Look_shownIn(root)) {
        if (!GTK_IS_LABEL(widget)) {
            continue;
        }
        PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(widget));
        PangoRectangle ink{};
        PangoRectangle logical{};
        pango_layout_get_pixel_extents(layout, &ink, &logical);
        if (ink.width == 0) {
            continue;
        }
        ++texts;
        EXPECT_GE(logical.height / pango_layout_get_line_count(layout), lookText_px)
            << Look_nameOf(widget);
        EXPECT_EQ(pango_layout_is_ellipsized(layout), FALSE) << Look_nameOf(widget);
        EXPECT_LE(ink.width, gtk_widget_get_allocated_width(widget)) << Look_nameOf(widget);
        if (gtk_widget_is_sensitive(widget) != FALSE) {
            EXPECT_GE(Gui_contrast(widget), lookContrast) << Look_nameOf(widget);
        }
    }
    EXPECT_GT(texts, 0);
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

/// A picture that is a word.
inline bool Look_isWritten(GtkWidget* image, GtkWidget* key) {
    return GTK_IS_IMAGE(image) && strstr(gtk_widget_get_name(key), "Auto") != nullptr;
}

/// The words on a key keep away from the key's edges.
inline void Look_expectRoomAround(GtkWidget* key) {
    const GdkRectangle place = Gui_place(key);
    for (GtkWidget* widget : Look_shownIn(key)) {
        const GdkRectangle ink = GTK_IS_LABEL(widget)          ? Look_inkOf(widget)
                                 : Look_isWritten(widget, key) ? Look_inkOfPicture(widget)
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

/// A window or a screen that only tells something: it is whole on the screen, and so are its
/// texts.
inline void Look_expectTold(GtkWidget* root) {
    Gui_settle();
    const GdkRectangle place = Gui_place(root);
    EXPECT_GE(place.x, 0);
    EXPECT_GE(place.y, 0);
    EXPECT_LE(place.x + place.width, screenWidth);
    EXPECT_LE(place.y + place.height, screenHeight);
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

/// A menu's rows stand close together: each has the room of a target and of a gap.
inline void Look_expectMenu(GtkWidget* menu) {
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

/// Where a label's letters stand on the screen.
inline int Look_baseLine(const std::string& name) {
    GtkWidget* label = Gui_widget(name);
    int y = 0;
    gtk_label_get_layout_offsets(GTK_LABEL(label), nullptr, &y);
    PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(label));
    GtkAllocation place{};
    gtk_widget_get_allocation(label, &place);
    return Gui_place(label).y - place.y + y + PANGO_PIXELS(pango_layout_get_baseline(layout));
}

/// A value stands on the base line of its caption.
inline void Look_expectOneBaseLine(const std::string& caption, const std::string& value) {
    EXPECT_EQ(Look_baseLine(caption), Look_baseLine(value)) << caption << " and " << value;
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
