#ifndef DISPLAY_STYLE_SHEET_H
#define DISPLAY_STYLE_SHEET_H

/// Puts the style sheets of all windows and dialogs on the screen. Main thread, once, after
/// gtk_init.
void StyleSheet_install();

/// The same for the rules that only pulse and no-connection screens need.
void StyleSheet_installForPulseScreens();

/// Adds a dialog's own rules, in CSS, behind those that are there. Once for each dialog. A mistake
/// in them is logged. Main thread or GUI-refresh thread, GDK lock held.
void StyleSheet_add(const char* rules);

/// The rules themselves, in CSS.
extern const char styleSheetText[];
extern const char pulseStyleSheetText[];

#endif
