#ifndef APP_FOCUS_GUARD_H
#define APP_FOCUS_GUARD_H

/// Takes the keyboard focus away from the screens and their buttons, so that no widget shows a
/// focus frame on the touch screen. Focus inside a dialog is left alone. True when focus was
/// removed. GDK lock held.
bool handleFocusChange();

/// Thread: the same every 5 s.
void focusThread();

#endif
