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

bool isOfType(GtkWidget* widget, const char* typeName) {
    const GType type = toolkit().typeFromName(typeName);
    return type != 0 && toolkit().isA(reinterpret_cast<GTypeInstance*>(widget), type) != FALSE;
}

/// A text in one column: what would end it is written as "\t", "\n" and "\\".
void writeText(FILE* output, const char* text) {
    for (const char* at = text; at != nullptr && *at != '\0'; ++at) {
        switch (*at) {
        case '\t':
            fputs("\\t", output);
            break;
        case '\n':
            fputs("\\n", output);
            break;
        case '\\':
            fputs("\\\\", output);
            break;
        default:
            fputc(*at, output);
        }
    }
}

/// Where a kind of widget keeps the text that a person reads on it.
struct TextProperty {
    const char* type;
    const char* property;
};
constexpr std::array textProperties = {
    TextProperty{"GtkEntry", "text"},   TextProperty{"GtkButton", "label"},
    TextProperty{"GtkImage", "file"},   TextProperty{"GtkProgressBar", "text"},
    TextProperty{"GtkFrame", "label"},  TextProperty{"GtkMessageDialog", "text"},
    TextProperty{"GtkWindow", "title"},
};

void writeProperty(FILE* output, void* object, const char* property) {
    char* text = nullptr;
    toolkit().getProperty(object, property, &text, static_cast<void*>(nullptr));
    writeText(output, text);
    toolkit().free(text);
}

/// The first column of the row that a cell view shows: what a list's or a drop-down's row reads.
void writeRowText(FILE* output, GtkCellView* view) {
    GtkTreeModel* const model = toolkit().rowModel(view);
    GtkTreePath* const path = toolkit().displayedRow(view);
    GtkTreeIter row;
    if (model != nullptr && path != nullptr && toolkit().rowIterator(model, &row, path) != FALSE &&
        toolkit().columnType(model, 0) == G_TYPE_STRING) {
        char* text = nullptr;
        toolkit().rowValues(model, &row, 0, &text, -1);
        writeText(output, text);
        toolkit().free(text);
    }
    toolkit().freePath(path);
}

void writeWidgetText(FILE* output, GtkWidget* widget) {
    if (isOfType(widget, "GtkCellView")) {
        writeRowText(output, reinterpret_cast<GtkCellView*>(widget));
        return;
    }
    if (isOfType(widget, "GtkTextView")) {
        writeProperty(output, toolkit().textBuffer(reinterpret_cast<GtkTextView*>(widget)), "text");
        return;
    }
    if (isOfType(widget, "GtkLabel")) { // without its markup
        writeText(output, toolkit().labelText(reinterpret_cast<GtkLabel*>(widget)));
        return;
    }
    for (const TextProperty& row : textProperties) {
        if (isOfType(widget, row.type)) {
            writeProperty(output, widget, row.property);
            return;
        }
    }
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
    if (!isOfType(widget, "GtkToggleButton")) {
        return "-";
    }
    gboolean isActive = FALSE;
    toolkit().getProperty(widget, "active", &isActive, static_cast<void*>(nullptr));
    return isActive != FALSE ? "1" : "0";
}

struct Walk {
    FILE* output;
    int depth;
    bool hasStyles;
};

void writeWidget(GtkWidget* widget, void* data) {
    const Walk walk = *static_cast<const Walk*>(data);
    FILE* const output = walk.output;
    const Toolkit& gtk = toolkit();
    fprintf(output, "%d\t%s\t", walk.depth, gtk.typeName(reinterpret_cast<GTypeInstance*>(widget)));
    writeText(output, gtk.name(widget));
    fputc('\t', output);
    writeText(output, gtk.builderId(reinterpret_cast<GtkBuildable*>(widget)));
    fputc('\t', output);
    writeText(output, gtk.accessibleName(gtk.accessible(widget)));
    fprintf(output, "\t%d\t%d\t%d\t%s\t", gtk.isMapped(widget) != FALSE,
            gtk.isSensitive(widget) != FALSE, gtk.hasFocus(widget) != FALSE, activeState(widget));
    writeGeometry(output, widget);
    fputc('\t', output);
    if (walk.hasStyles) {
        writeStyle(output, widget);
    } else {
        fputs("\t\t", output);
    }
    fputc('\t', output);
    writeWidgetText(output, widget);
    fputc('\n', output);
    if (isOfType(widget, "GtkContainer")) {
        Walk below{output, walk.depth + 1, walk.hasStyles};
        gtk.forEachChild(reinterpret_cast<GtkContainer*>(widget), writeWidget, &below);
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

bool writeWindows(FILE* output, bool hasStyles) {
    if (!toolkit().listToplevels.isThere()) {
        return false;
    }
    GList* const windows = toolkit().listToplevels();
    for (const GList* at = windows; at != nullptr; at = at->next) {
        auto* const window = static_cast<GtkWidget*>(at->data);
        giveItsPlace(window);
        Walk top{output, 0, hasStyles};
        writeWidget(window, &top);
    }
    toolkit().freeList(windows);
    return true;
}

} // namespace

bool Screen_list(FILE* output) {
    return writeWindows(output, true);
}

bool Screen_places(FILE* output) {
    return writeWindows(output, false);
}

bool Screen_picture(FILE* output) {
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
