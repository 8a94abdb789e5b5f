#ifndef TESTS_GUI_GUI_HARNESS_H
#define TESTS_GUI_GUI_HARNESS_H

#include "EntireScreen.h"
#include "MainWindow.h"

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

/// The real screens on a virtual X server of the test program's own, without the application's
/// threads: the test's thread runs the main loop and holds the GDK lock otherwise.

/// Starts the X server and GTK as the application does, and builds all screens. Once per program.
void Gui_start();

/// Runs the main loop until nothing is left to do.
void Gui_settle();

/// Runs the main loop until the condition holds or the limit has gone by.
bool Gui_waitUntil(const std::function<bool()>& condition, uint32_t limit_ms);

/// Shows one screen instance alone on the full screen, or, for a half, together with the other
/// half's matching screen.
void Gui_showScreen(GtkSensorInstance screen);

/// A widget of the main window, or else of a dialog, by its name; fails the test if there is none.
GtkWidget* Gui_widget(const std::string& name);

/// Text of a label, an entry or a text view, of a text view's buffer, and a widget's colour as
/// drawn ("#rrggbb").
std::string Gui_text(const std::string& name);
std::string Gui_textOf(GtkTextBuffer* buffer);
std::string Gui_colour(const std::string& name);

/// Where a widget stands on the screen.
GdkRectangle Gui_place(GtkWidget* widget);

/// True when a widget is really on the screen.
bool Gui_isShown(const std::string& name);

/// Presses and releases the middle of a widget with the pointer, as a finger would.
void Gui_tap(const std::string& name);
void Gui_press(const std::string& name);
void Gui_release();

/// All visible widgets of the main window that are of a type.
std::vector<GtkWidget*> Gui_shownWidgets(GType type);

/// What the X server shows; the caller unrefs it.
GdkPixbuf* Gui_picture();

/// How well a widget's text can be read, as the web's guidelines define it: the contrast between
/// the colour that fills most of its place and the one that differs most from that, 1 to 21.
double Gui_contrast(GtkWidget* widget);

/// The same of a place on a picture of the screen.
double Gui_contrastIn(GdkPixbuf* picture, const GdkRectangle& place);

/// Writes what the X server shows into a PNG file.
bool Gui_savePicture(const std::string& file);

/// The texts that GTK and GLib have warned with since the start.
const std::vector<std::string>& Gui_warnings();

#endif
