#include "GtkHelpers.h"

#include "GdkLock.h"
#include "message.h"

#include <algorithm>
#include <array>
#include <cstring>

GdkRGBA bgColorBlack;
GdkRGBA bgColorWhite;
GdkRGBA bgDialogGrey;
GdkRGBA bgYellow;
GdkRGBA textColorBlack;
GdkRGBA textColorWhite;
GdkRGBA textColorLightGrey;
GdkRGBA textColorRed;
GdkRGBA quorvelSpecificRed;
GdkRGBA textColorClickable;
GdkRGBA graphColorBlue;
GdkRGBA quorvelSpecificBlue;
GdkRGBA quorvelSpecificGreen;

const char* fontFamily = "Monospace";
PangoFontDescription* fontDescriptionValue = nullptr;

namespace {

/// A colour of the screens; 65535 is full brightness.
struct ColourRow {
    GdkRGBA* colour;
    uint16_t red;
    uint16_t green;
    uint16_t blue;
};

constexpr ColourRow colourRows[] = {
    {&bgColorBlack, 0, 0, 0},
    {&bgColorWhite, 65535, 65535, 65535},
    {&bgDialogGrey, 56540, 56026, 54741},
    {&bgYellow, 65535, 65535, 0},
    {&textColorBlack, 0, 0, 0},
    {&textColorWhite, 65535, 65535, 65535},
    {&textColorLightGrey, 44367, 44110, 44110},
    {&textColorRed, 65535, 0, 0},
    {&quorvelSpecificRed, 65278, 19018, 18761},
    {&textColorClickable, 65535, 55255, 26214},
    {&graphColorBlue, 0, 40349, 56540},
    {&quorvelSpecificBlue, 20303, 33153, 48573},
    {&quorvelSpecificGreen, 20303, 45232, 20560},
};

/// A colour and the two style providers that put it on a widget, made when it is first needed.
struct ColourStyle {
    GdkRGBA colour;
    GtkCssProvider* foreground;
    GtkCssProvider* background;
};

std::array<ColourStyle, 24> colourStyles;
size_t colourStyleCount = 0;

GtkCssProvider* newProvider(const char* format, const GdkRGBA& colour) {
    gchar* text = gdk_rgba_to_string(&colour);
    char rule[128];
    g_snprintf(rule, sizeof rule, format, text);
    g_free(text);
    GtkCssProvider* provider = gtk_css_provider_new();
    gtk_css_provider_load_from_data(provider, rule, -1, nullptr);
    return provider;
}

/// Null when there is no room for another colour.
ColourStyle* styleOf(const GdkRGBA& colour) {
    for (size_t i = 0; i < colourStyleCount; ++i) {
        if (gdk_rgba_equal(&colourStyles[i].colour, &colour)) {
            return &colourStyles[i];
        }
    }
    if (colourStyleCount == colourStyles.size()) {
        DIAGNOSTIC("No room for another colour.\n");
        return nullptr;
    }
    ColourStyle& style = colourStyles[colourStyleCount++];
    style.colour = colour;
    // What does not answer looks so: there the style sheet's colour holds.
    style.foreground = newProvider("*:not(:disabled) { color: %s; }", colour);
    style.background = newProvider("* { background-color: %s; background-image: none; }", colour);
    return &style;
}

/// Exchanges the provider that the widget remembers under `key`.
void applyProvider(GtkWidget* widget, GQuark key, GtkCssProvider* provider) {
    auto* current = static_cast<GtkCssProvider*>(g_object_get_qdata(G_OBJECT(widget), key));
    if (current == provider) {
        return;
    }
    GtkStyleContext* context = gtk_widget_get_style_context(widget);
    if (current != nullptr) {
        gtk_style_context_remove_provider(context, GTK_STYLE_PROVIDER(current));
    }
    gtk_style_context_add_provider(context, GTK_STYLE_PROVIDER(provider),
                                   GTK_STYLE_PROVIDER_PRIORITY_USER);
    g_object_set_qdata(G_OBJECT(widget), key, provider);
}

/// How many characters a label's figures have room for at their largest; 0 where they do not follow
/// the text.
GQuark leastCharactersKey() {
    return g_quark_from_static_string("quorvel-least-characters");
}

/// Sets the figures of a fitting label for a text of this length, unless they are right already.
void fitFigures(GtkWidget* label, int length) {
    static const GQuark key = g_quark_from_static_string("quorvel-characters");
    const int least = GPOINTER_TO_INT(g_object_get_qdata(G_OBJECT(label), leastCharactersKey()));
    const int characters = MAX(length, least);
    if (least == 0 || GPOINTER_TO_INT(g_object_get_qdata(G_OBJECT(label), key)) == characters) {
        return;
    }
    int width_px = 0;
    int height_px = 0;
    gtk_widget_get_size_request(label, &width_px, &height_px);
    const int size_px = fittingFontSize_px(label, characters, width_px, height_px);
    setLabelFont_px(label, MAX(size_px, 1), height_px, true);
    g_object_set_qdata(G_OBJECT(label), key, GINT_TO_POINTER(characters));
}

struct ChildSearch {
    const char* name;
    GtkWidget* found;
};

void searchChild(GtkWidget* child, gpointer data) {
    auto* search = static_cast<ChildSearch*>(data);
    if (search->found == nullptr) {
        search->found = find_child(child, search->name);
    }
}

} // namespace

void initColors() {
    for (const ColourRow& row : colourRows) {
        *row.colour = {row.red / 65535.0, row.green / 65535.0, row.blue / 65535.0, 1.0};
    }
    for (const GdkRGBA& colour :
         {bgColorBlack, textColorWhite, textColorLightGrey, textColorRed, textColorClickable}) {
        styleOf(colour);
    }
}

void loadFonts() {
    if (fontDescriptionValue == nullptr) {
        fontDescriptionValue = pango_font_description_from_string("Monospace 20");
    }
}

void setWidgetFgAndBgColors(GtkWidget* widget, const GdkRGBA& fg, const GdkRGBA& bg) {
    setWidgetFgColor(widget, fg);
    const ColourStyle* style = styleOf(bg);
    if (widget != nullptr && style != nullptr) {
        static const GQuark key = g_quark_from_static_string("quorvel-background");
        applyProvider(widget, key, style->background);
    }
}

void setWidgetFgColor(GtkWidget* widget, const GdkRGBA& fg) {
    GdkLock_assertHeld();
    const ColourStyle* style = styleOf(fg);
    if (widget != nullptr && style != nullptr) {
        static const GQuark key = g_quark_from_static_string("quorvel-foreground");
        applyProvider(widget, key, style->foreground);
    }
}

GtkWidget* find_child(GtkWidget* widget, const char* name) {
    if (widget == nullptr || strcmp(gtk_widget_get_name(widget), name) == 0) {
        return widget;
    }
    ChildSearch search = {name, nullptr};
    if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(GTK_CONTAINER(widget), searchChild, &search);
    }
    return search.found;
}

void setLabelText(GtkWidget* label, const char* text) {
    GdkLock_assertHeld();
    if (label != nullptr && strcmp(gtk_label_get_text(GTK_LABEL(label)), text) != 0) {
        fitFigures(label, static_cast<int>(strlen(text)));
        gtk_label_set_text(GTK_LABEL(label), text);
    }
}

void setLabelFitting(GtkWidget* label, int characters) {
    GdkLock_assertHeld();
    if (label != nullptr) {
        g_object_set_qdata(G_OBJECT(label), leastCharactersKey(), GINT_TO_POINTER(characters));
        fitFigures(label, characters);
    }
}

void setWidgetVisible(GtkWidget* widget, bool visible) {
    GdkLock_assertHeld();
    if (widget != nullptr && (gtk_widget_get_visible(widget) != 0) != visible) {
        gtk_widget_set_visible(widget, visible);
    }
}

void setWidgetClass(GtkWidget* widget, const char* name, bool hasClass) {
    GtkStyleContext* context = gtk_widget_get_style_context(widget);
    if ((gtk_style_context_has_class(context, name) != FALSE) == hasClass) {
        return;
    }
    if (hasClass) {
        gtk_style_context_add_class(context, name);
    } else {
        gtk_style_context_remove_class(context, name);
    }
}

void flushDisplay() {
    GdkDisplay* display = gdk_display_get_default();
    if (display != nullptr) {
        gdk_display_flush(display);
    }
    g_main_context_wakeup(nullptr);
}

bool containsFocus(GtkWidget* widget) {
    GdkLock_assertHeld();
    GtkWidget* window = widget != nullptr ? gtk_widget_get_toplevel(widget) : nullptr;
    if (!GTK_IS_WINDOW(window)) {
        return false;
    }
    GtkWidget* focus = gtk_window_get_focus(GTK_WINDOW(window));
    return focus != nullptr && (focus == widget || gtk_widget_is_ancestor(focus, widget));
}

void setLabelFont_px(GtkWidget* label, int size_px, int lineHeight_px, bool isBold) {
    PangoFontDescription* font = pango_font_description_new();
    pango_font_description_set_family_static(font, fontFamily);
    pango_font_description_set_absolute_size(font, static_cast<double>(size_px) * PANGO_SCALE);
    pango_font_description_set_weight(font, isBold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    PangoAttrList* attributes = pango_attr_list_new();
    pango_attr_list_insert(attributes, pango_attr_font_desc_new(font));
    if (lineHeight_px > 0) {
        pango_attr_list_insert(attributes,
                               pango_attr_line_height_new_absolute(lineHeight_px * PANGO_SCALE));
    }
    gtk_label_set_attributes(GTK_LABEL(label), attributes);
    pango_attr_list_unref(attributes);
    pango_font_description_free(font);
}

int fittingFontSize_px(GtkWidget* widget, int characters, int width_px, int size_px) {
    PangoFontDescription* font = pango_font_description_new();
    pango_font_description_set_family_static(font, fontFamily);
    pango_font_description_set_weight(font, PANGO_WEIGHT_BOLD);
    // Measured large, so that the rounding of the glyphs' widths does not count.
    constexpr int probe_px = 1000;
    pango_font_description_set_absolute_size(font, static_cast<double>(probe_px) * PANGO_SCALE);
    PangoLayout* layout = gtk_widget_create_pango_layout(widget, "0");
    pango_layout_set_font_description(layout, font);
    int probeWidth_px = 0;
    pango_layout_get_pixel_size(layout, &probeWidth_px, nullptr);
    g_object_unref(layout);
    pango_font_description_free(font);
    // One pixel less, since a drawn glyph's width may be rounded up.
    const int glyph_px = width_px / characters - 1;
    return probeWidth_px > 0 ? MIN(size_px, glyph_px * probe_px / probeWidth_px) : size_px;
}

GdkPixbuf* readPicture(const char* file) {
    GError* error = nullptr;
    GdkPixbuf* picture = gdk_pixbuf_new_from_file(file, &error);
    if (picture == nullptr) {
        DIAGNOSTIC("Cannot read %s: %s\n", file, error->message);
        g_error_free(error);
    }
    return picture;
}

GtkWidget* newImageFromFile(const char* file) {
    GdkPixbuf* picture = readPicture(file);
    if (picture == nullptr) {
        return gtk_image_new();
    }
    GtkWidget* image = gtk_image_new_from_pixbuf(picture);
    g_object_unref(picture);
    return image;
}

GtkWidget* newTouchButton(const char* name) {
    GtkWidget* button = gtk_button_new();
    gtk_widget_set_name(button, name);
    gtk_button_set_relief(GTK_BUTTON(button), GTK_RELIEF_NONE);
    gtk_widget_set_can_focus(button, FALSE);
    gtk_style_context_add_class(gtk_widget_get_style_context(button), "touch");
    return button;
}

GtkWidget* newPictureButton(const char* name, const char* file, const char* accessibleName) {
    GtkWidget* button = newTouchButton(name);
    gtk_button_set_image(GTK_BUTTON(button), newImageFromFile(file));
    gtk_button_set_always_show_image(GTK_BUTTON(button), TRUE);
    atk_object_set_name(gtk_widget_get_accessible(button), accessibleName);
    return button;
}

void placeOverWindow(GtkWindow* dialog, GtkWindow* window) {
    GtkRequisition size{};
    gtk_widget_get_preferred_size(GTK_WIDGET(dialog), nullptr, &size);
    int defaultWidth = 0;
    int defaultHeight = 0;
    gtk_window_get_default_size(dialog, &defaultWidth, &defaultHeight);
    int x = 0;
    int y = 0;
    gtk_window_get_position(window, &x, &y);
    int width = 0;
    int height = 0;
    gtk_window_get_size(window, &width, &height);
    gtk_window_set_position(dialog, GTK_WIN_POS_NONE);
    gtk_window_move(dialog, x + (width - std::max(size.width, defaultWidth)) / 2,
                    y + (height - std::max(size.height, defaultHeight)) / 2);
}
