#ifndef DISPLAY_STYLE_SHEET_H
#define DISPLAY_STYLE_SHEET_H

/// Puts the style sheets of all windows and dialogs on the screen. Main thread, once, after
/// gtk_init.
void StyleSheet_install();

/// The same for the rules that only pulse and no-connection screens need.
void StyleSheet_installForPulseScreens();

/// The rules themselves, in CSS.
extern const char styleSheetText[];
extern const char pulseStyleSheetText[];

#endif
