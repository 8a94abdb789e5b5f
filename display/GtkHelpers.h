#ifndef DISPLAY_GTK_HELPERS_H
#define DISPLAY_GTK_HELPERS_H

#include <gtk/gtk.h>

#include <cstdint>

/// Colours, fonts and small widget operations that all screens share. GDK lock held. Every setter
/// compares first and does nothing when nothing would change, so that a pass over unchanged
/// readings costs no drawing and no memory.

extern GdkRGBA bgColorBlack;
extern GdkRGBA bgColorWhite;
extern GdkRGBA bgDialogGrey;
extern GdkRGBA bgYellow;
extern GdkRGBA textColorBlack;
extern GdkRGBA textColorWhite;
extern GdkRGBA textColorLightGrey;
extern GdkRGBA textColorRed;
extern GdkRGBA quorvelSpecificRed;
extern GdkRGBA textColorClickable; ///< the yellow of texts that can be tapped
extern GdkRGBA graphColorBlue;
extern GdkRGBA quorvelSpecificBlue;
extern GdkRGBA quorvelSpecificGreen;

/// Family of all measurement texts, and the description of units and pulse values.
extern const char* fontFamily;
extern PangoFontDescription* fontDescriptionValue;

/// Sets the colours, once, after gtk_init.
void initColors();

/// Makes the fonts, once, after gtk_init.
void loadFonts();

/// Colours a widget (not its children). A colour that differs from the ones above is remembered as
/// they are; there is room for a few. While the widget does not answer, its text has the style
/// sheet's colour.
void setWidgetFgAndBgColors(GtkWidget* widget, const GdkRGBA& fg, const GdkRGBA& bg);
void setWidgetFgColor(GtkWidget* widget, const GdkRGBA& fg);

/// Depth-first search of a widget and all that it contains for a widget name; null if there is
/// none.
GtkWidget* find_child(GtkWidget* widget, const char* name);

/// Text of a label; a null widget is skipped. Where setLabelFitting has been called, the figures
/// follow the text's length.
void setLabelText(GtkWidget* label, const char* text);

/// Has the figures of a label fill its size request: as large as `characters` of them fit, and
/// smaller for a longer text, so that nothing around the label moves. Null is skipped.
void setLabelFitting(GtkWidget* label, int characters);

/// Shows or hides a widget; null is skipped.
void setWidgetVisible(GtkWidget* widget, bool visible);

/// Gives a widget a class of the style sheet, or takes it away.
void setWidgetClass(GtkWidget* widget, const char* name, bool hasClass);

/// Sends what was drawn, and lets the main loop look for what X has sent: only the main thread may
/// run the loop. For the other threads that draw.
void flushDisplay();

/// True when the keyboard focus of the widget's window is on the widget or inside it; false for
/// null.
bool containsFocus(GtkWidget* widget);

/// Gives a label the measurement family at a size and line height in pixels, whatever the screen's
/// resolution. A line height of 0 is the font's own.
void setLabelFont_px(GtkWidget* label, int size_px, int lineHeight_px, bool isBold);

/// The size in pixels, at most `size_px`, at which `characters` bold figures of the measurement
/// family fit into a width, whichever font stands behind the family.
int fittingFontSize_px(GtkWidget* widget, int characters, int width_px, int size_px);

/// A picture from a file; null (and logged) if it cannot be read. The caller unreferences it.
GdkPixbuf* readPicture(const char* file);

/// An image from a file such as "./resources/gear.png", empty (and logged) if it cannot be read.
GtkWidget* newImageFromFile(const char* file);

/// A touch button without focus frame that looks like a key and answers when it is pressed.
GtkWidget* newTouchButton(const char* name);

/// A touch button with a picture from a file; its accessible name says what it opens.
GtkWidget* newPictureButton(const char* name, const char* file, const char* accessibleName);

/// Puts a dialog whose children are visible, but which is not shown itself yet, in the middle of
/// another window. GTK's own placing asks for the screen's size, which a web browser's screen does
/// not have before the browser has connected: the dialog would stand half outside.
void placeOverWindow(GtkWindow* dialog, GtkWindow* window);

#endif
