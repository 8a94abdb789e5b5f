// What the program under test shows on its screen, read from inside the program.
//
// This library loads into programs with and without GTK, so that it must not link it: every
// function of GTK is looked up in the program. GTK's cast macros would need it, too.

#include "Screen.h"

#include <gtk/gtk.h>

#include <array>
#include <cmath>
#include <cstring>
#include <dlfcn.h>

namespace {

/// A function of GTK or of a library below it, as the program has it.
template <typename Function> class Found {
public:
    explicit Found(const char* name)
        : function(reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name))) {}

    template <typename... Arguments> auto operator()(Arguments... arguments) const {
        return function(arguments...);
    }
    bool isThere() const {
        return function != nullptr;
    }

private:
    Function* function;
};

struct Toolkit {
    Found<decltype(gtk_window_list_toplevels)> listToplevels{"gtk_window_list_toplevels"};
    Found<decltype(g_list_free)> freeList{"g_list_free"};
    Found<decltype(g_free)> free{"g_free"};
    Found<decltype(g_strdup)> copyText{"g_strdup"};
    Found<decltype(g_type_from_name)> typeFromName{"g_type_from_name"};
    Found<decltype(g_type_name_from_instance)> typeName{"g_type_name_from_instance"};
    Found<decltype(g_type_check_instance_is_a)> isA{"g_type_check_instance_is_a"};
    Found<void(void*, const char*, ...)> getProperty{"g_object_get"};
    Found<decltype(gtk_container_forall)> forEachChild{"gtk_container_forall"};
    Found<decltype(gtk_widget_get_name)> name{"gtk_widget_get_name"};
    Found<decltype(gtk_buildable_get_name)> builderId{"gtk_buildable_get_name"};
    Found<decltype(gtk_widget_get_mapped)> isMapped{"gtk_widget_get_mapped"};
    Found<decltype(gtk_widget_is_sensitive)> isSensitive{"gtk_widget_is_sensitive"};
    Found<decltype(gtk_widget_has_focus)> hasFocus{"gtk_widget_has_focus"};
    Found<decltype(gtk_widget_get_parent)> parent{"gtk_widget_get_parent"};
    Found<decltype(gtk_widget_get_toplevel)> toplevel{"gtk_widget_get_toplevel"};
    Found<decltype(gtk_widget_get_window)> window{"gtk_widget_get_window"};
    Found<decltype(gdk_window_get_origin)> origin{"gdk_window_get_origin"};
    Found<decltype(gtk_widget_translate_coordinates)> translate{"gtk_widget_translate_coordinates"};
    Found<decltype(gtk_widget_get_allocated_width)> width{"gtk_widget_get_allocated_width"};
    Found<decltype(gtk_widget_get_allocated_height)> height{"gtk_widget_get_allocated_height"};
    Found<decltype(gtk_widget_get_style_context)> style{"gtk_widget_get_style_context"};
    Found<decltype(gtk_style_context_get_state)> styleState{"gtk_style_context_get_state"};
    Found<decltype(gtk_style_context_get_color)> colour{"gtk_style_context_get_color"};
    Found<void(GtkStyleContext*, GtkStateFlags, ...)> getStyle{"gtk_style_context_get"};
    Found<decltype(gdk_rgba_free)> freeColour{"gdk_rgba_free"};
    Found<decltype(pango_font_description_to_string)> fontText{"pango_font_description_to_string"};
    Found<decltype(pango_font_description_free)> freeFont{"pango_font_description_free"};
    Found<decltype(gtk_widget_get_accessible)> accessible{"gtk_widget_get_accessible"};
    Found<decltype(atk_object_get_name)> accessibleName{"atk_object_get_name"};
    Found<decltype(gtk_label_get_text)> labelText{"gtk_label_get_text"};
    Found<decltype(gtk_text_view_get_buffer)> textBuffer{"gtk_text_view_get_buffer"};
    Found<decltype(gtk_cell_view_get_displayed_row)> displayedRow{
        "gtk_cell_view_get_displayed_row"};
    Found<decltype(gtk_cell_view_get_model)> rowModel{"gtk_cell_view_get_model"};
    Found<decltype(gtk_tree_model_get_iter)> rowIterator{"gtk_tree_model_get_iter"};
    Found<decltype(gtk_tree_model_get_column_type)> columnType{"gtk_tree_model_get_column_type"};
    Found<void(GtkTreeModel*, GtkTreeIter*, ...)> rowValues{"gtk_tree_model_get"};
    Found<decltype(gtk_tree_path_free)> freePath{"gtk_tree_path_free"};
    Found<decltype(gtk_container_check_resize)> layOut{"gtk_container_check_resize"};
    Found<decltype(gtk_widget_draw)> draw{"gtk_widget_draw"};
    Found<decltype(cairo_image_surface_create)> newImage{"cairo_image_surface_create"};
    Found<decltype(cairo_surface_destroy)> freeImage{"cairo_surface_destroy"};
    Found<decltype(cairo_create)> newPainter{"cairo_create"};
    Found<decltype(cairo_destroy)> freePainter{"cairo_destroy"};
    Found<decltype(cairo_save)> save{"cairo_save"};
    Found<decltype(cairo_restore)> restore{"cairo_restore"};
    Found<decltype(cairo_translate)> move{"cairo_translate"};
    Found<decltype(cairo_surface_write_to_png_stream)> writePng{
        "cairo_surface_write_to_png_stream"};
};

const Toolkit& toolkit() {
    static const Toolkit found;
    return found;
}

/// A class of widgets, known once the program has made one of them.
class WidgetClass {
public:
    explicit WidgetClass(const char* className) : name(className) {}

    bool has(GtkWidget* widget) {
        type = type != 0 ? type : toolkit().typeFromName(name);
        return type != 0 && toolkit().isA(reinterpret_cast<GTypeInstance*>(widget), type) != FALSE;
    }

private:
    const char* name;
    GType type = 0;
};

/// A text in one column: what would end it is written as "\t", "\n" and "\\".
void writeText(FILE* output, const char* text) {
    if (text == nullptr) {
        return;
    }
    for (;;) {
        const size_t plain = strcspn(text, "\t\n\\");
        fwrite(text, 1, plain, output);
        text += plain;
        if (*text == '\0') {
            return;
        }
        fputs(*text == '\t' ? "\\t" : *text == '\n' ? "\\n" : "\\\\", output);
        ++text;
    }
}

/// Where a class of widgets keeps the text that a person reads on it.
struct TextProperty {
    WidgetClass widgets;
    const char* property;
};

char* propertyOf(void* object, const char* property) {
    char* text = nullptr;
    toolkit().getProperty(object, property, &text, static_cast<void*>(nullptr));
    return text;
}

/// The first column of the row that a cell view shows: what a list's or a drop-down's row reads.
char* rowText(GtkCellView* view) {
    GtkTreeModel* const model = toolkit().rowModel(view);
    GtkTreePath* const path = toolkit().displayedRow(view);
    GtkTreeIter row;
    char* text = nullptr;
    if (model != nullptr && path != nullptr && toolkit().rowIterator(model, &row, path) != FALSE &&
        toolkit().columnType(model, 0) == G_TYPE_STRING) {
        toolkit().rowValues(model, &row, 0, &text, -1);
    }
    toolkit().freePath(path);
    return text;
}

/// What a person reads on the widget, to be freed; null for nothing.
char* textOf(GtkWidget* widget) {
    static WidgetClass labels("GtkLabel");
    static WidgetClass cellViews("GtkCellView");
    static WidgetClass textViews("GtkTextView");
    static std::array properties = {
        TextProperty{WidgetClass("GtkEntry"), "text"},
        TextProperty{WidgetClass("GtkButton"), "label"},
        TextProperty{WidgetClass("GtkImage"), "file"},
        TextProperty{WidgetClass("GtkProgressBar"), "text"},
        TextProperty{WidgetClass("GtkFrame"), "label"},
        TextProperty{WidgetClass("GtkMessageDialog"), "text"},
        TextProperty{WidgetClass("GtkWindow"), "title"},
    };
    if (labels.has(widget)) { // without its markup
        return toolkit().copyText(toolkit().labelText(reinterpret_cast<GtkLabel*>(widget)));
    }
    if (cellViews.has(widget)) {
        return rowText(reinterpret_cast<GtkCellView*>(widget));
    }
    if (textViews.has(widget)) {
        return propertyOf(toolkit().textBuffer(reinterpret_cast<GtkTextView*>(widget)), "text");
    }
    for (TextProperty& row : properties) {
        if (row.widgets.has(widget)) {
            return propertyOf(widget, row.property);
        }
    }
    return nullptr;
}

void writeColour(FILE* output, const GdkRGBA& colour) {
    const auto part = [](double share) { return static_cast<int>(std::lround(share * 255)); };
    fprintf(output, "#%02x%02x%02x", part(colour.red), part(colour.green), part(colour.blue));
    if (colour.alpha < 1) {
        fprintf(output, "%02x", part(colour.alpha));
    }
}

GdkRGBA ownBackground(GtkWidget* widget) {
    GtkStyleContext* const style = toolkit().style(widget);
    GdkRGBA* colour = nullptr;
    toolkit().getStyle(style, toolkit().styleState(style), "background-color", &colour,
                       static_cast<void*>(nullptr));
    const GdkRGBA result = colour != nullptr ? *colour : GdkRGBA{0, 0, 0, 0};
    toolkit().freeColour(colour);
    return result;
}

/// The colour that is seen behind a widget: its own, or the next one that shines through.
GdkRGBA seenBackground(GtkWidget* widget) {
    GdkRGBA colour = ownBackground(widget);
    for (GtkWidget* at = toolkit().parent(widget); colour.alpha == 0 && at != nullptr;
         at = toolkit().parent(at)) {
        colour = ownBackground(at);
    }
    return colour;
}

void writeStyle(FILE* output, GtkWidget* widget) {
    GtkStyleContext* const style = toolkit().style(widget);
    const GtkStateFlags state = toolkit().styleState(style);
    GdkRGBA colour{};
    toolkit().colour(style, state, &colour);
    writeColour(output, colour);
    fputc('\t', output);
    writeColour(output, seenBackground(widget));
    fputc('\t', output);
    PangoFontDescription* font = nullptr;
    toolkit().getStyle(style, state, "font", &font, static_cast<void*>(nullptr));
    char* const text = toolkit().fontText(font);
    writeText(output, text);
    toolkit().free(text);
    toolkit().freeFont(font);
}

/// Position on the screen and size.
GdkRectangle placeOf(GtkWidget* widget) {
    int x = 0;
    int y = 0;
    int left = 0;
    int top = 0;
    GtkWidget* const toplevel = toolkit().toplevel(widget);
    GdkWindow* const window = toolkit().window(toplevel);
    if (window != nullptr) {
        toolkit().origin(window, &left, &top);
        toolkit().translate(widget, toplevel, 0, 0, &x, &y);
    }
    return {left + x, top + y, toolkit().width(widget), toolkit().height(widget)};
}

void writeGeometry(FILE* output, GtkWidget* widget) {
    const GdkRectangle place = placeOf(widget);
    fprintf(output, "%d\t%d\t%d\t%d", place.x, place.y, place.width, place.height);
}

const char* activeState(GtkWidget* widget) {
    static WidgetClass toggles("GtkToggleButton");
    if (!toggles.has(widget)) {
        return "-";
    }
    gboolean isActive = FALSE;
    toolkit().getProperty(widget, "active", &isActive, static_cast<void*>(nullptr));
    return isActive != FALSE ? "1" : "0";
}

struct Walk {
    FILE* output;
    int depth;
    const char* wanted; ///< null: all
};

const char* nameOf(GtkWidget* widget) {
    return toolkit().name(widget);
}

const char* builderIdOf(GtkWidget* widget) {
    return toolkit().builderId(reinterpret_cast<GtkBuildable*>(widget));
}

bool isSame(const char* one, const char* other) {
    return one != nullptr && strcmp(one, other) == 0;
}

/// A window is always wanted: it tells where what is wanted lies.
bool isWanted(const Walk& walk, GtkWidget* widget, const char* text) {
    return walk.depth == 0 || walk.wanted == nullptr || isSame(text, walk.wanted) ||
           isSame(nameOf(widget), walk.wanted) || isSame(builderIdOf(widget), walk.wanted);
}

void writeLine(FILE* output, int depth, GtkWidget* widget, const char* text) {
    const Toolkit& gtk = toolkit();
    fprintf(output, "%d\t%s\t", depth, gtk.typeName(reinterpret_cast<GTypeInstance*>(widget)));
    writeText(output, nameOf(widget));
    fputc('\t', output);
    writeText(output, builderIdOf(widget));
    fputc('\t', output);
    writeText(output, gtk.accessibleName(gtk.accessible(widget)));
    fprintf(output, "\t%d\t%d\t%d\t%s\t", gtk.isMapped(widget) != FALSE,
            gtk.isSensitive(widget) != FALSE, gtk.hasFocus(widget) != FALSE, activeState(widget));
    writeGeometry(output, widget);
    fputc('\t', output);
    writeStyle(output, widget);
    fputc('\t', output);
    writeText(output, text);
    fputc('\n', output);
}

void writeWidget(GtkWidget* widget, void* data) {
    static WidgetClass containers("GtkContainer");
    const Walk walk = *static_cast<const Walk*>(data);
    char* const text = textOf(widget);
    if (isWanted(walk, widget, text)) {
        writeLine(walk.output, walk.depth, widget, text);
    }
    toolkit().free(text);
    if (containers.has(widget)) {
        Walk below{walk.output, walk.depth + 1, walk.wanted};
        toolkit().forEachChild(reinterpret_cast<GtkContainer*>(widget), writeWidget, &below);
    }
}

/// The instrument's screen; a browser's or a desktop's may be larger.
constexpr int screenWidth = 1024;
constexpr int screenHeight = 768;

/// What has just changed its size is neither drawn nor found where it will be before it has its
/// place.
void giveItsPlace(GtkWidget* window) {
    if (toolkit().isMapped(window) != FALSE) {
        toolkit().layOut(reinterpret_cast<GtkContainer*>(window));
    }
}

void paintWindow(cairo_t* painter, GtkWidget* window) {
    if (toolkit().isMapped(window) != FALSE) {
        giveItsPlace(window);
        const GdkRectangle place = placeOf(window);
        toolkit().save(painter);
        toolkit().move(painter, place.x, place.y);
        toolkit().draw(window, painter);
        toolkit().restore(painter);
    }
}

cairo_status_t writeBytes(void* output, const unsigned char* bytes, unsigned length) {
    return fwrite(bytes, 1, length, static_cast<FILE*>(output)) == length
               ? CAIRO_STATUS_SUCCESS
               : CAIRO_STATUS_WRITE_ERROR;
}

} // namespace

bool Screen_list(FILE* output, const char* wanted) {
    if (!toolkit().listToplevels.isThere()) {
        return false;
    }
    GList* const windows = toolkit().listToplevels();
    for (const GList* at = windows; at != nullptr; at = at->next) {
        auto* const window = static_cast<GtkWidget*>(at->data);
        giveItsPlace(window);
        Walk top{output, 0, wanted};
        writeWidget(window, &top);
    }
    toolkit().freeList(windows);
    return true;
}

bool Screen_picture(FILE* output, const char* /*wanted*/) {
    const Toolkit& gtk = toolkit();
    if (!gtk.listToplevels.isThere() || !gtk.writePng.isThere()) {
        return false;
    }
    cairo_surface_t* const image = gtk.newImage(CAIRO_FORMAT_RGB24, screenWidth, screenHeight);
    cairo_t* const painter = gtk.newPainter(image);
    // In the order in which they were made: dialogs lie on what they belong to.
    GList* const windows = gtk.listToplevels();
    for (const GList* at = windows; at != nullptr; at = at->next) {
        paintWindow(painter, static_cast<GtkWidget*>(at->data));
    }
    gtk.freeList(windows);
    gtk.freePainter(painter);
    const bool isWritten = gtk.writePng(image, writeBytes, output) == CAIRO_STATUS_SUCCESS;
    gtk.freeImage(image);
    return isWritten;
}
