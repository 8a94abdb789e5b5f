#ifndef DISPLAY_DISPLAY_SETTINGS_H
#define DISPLAY_DISPLAY_SETTINGS_H

/// What the user chooses to see. Each function stores its choice at once; the screens follow at the
/// next pass of the GUI-refresh thread. GDK lock held.

void settings_setDisplayForward(bool display);
void settings_setDisplayReflected(bool display);
void settings_setDisplayMatch(bool display);

/// 0 VSWR, 1 return loss, 2 reflection coefficient; any other type is logged and ignored.
void settings_setMatchType(int type);

void settings_setDisplayGraph(bool display);

/// 0 raw, 1 averaged, for the graphs of both channels, which are drawn anew; any other mode is
/// logged and ignored.
void settings_setGraphMode(int mode);

void settings_setSensorPulseMode(bool isActive);

#endif
