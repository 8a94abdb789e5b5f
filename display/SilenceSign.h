#ifndef DISPLAY_SILENCE_SIGN_H
#define DISPLAY_SILENCE_SIGN_H

#include "PowerDisplayTypes.h"

/// The sign in a screen's title row for how long its sensor has told nothing. It takes the right
/// end of the sensor button's place, which makes room for as long as it stands. GDK lock held. A
/// row without a button has no sign.

/// Makes the sign, hidden, for a row whose button has its place and its text in this size. Main
/// thread, at start-up.
void SilenceSign_create(gtkPowerDisplay_Title* title, const char* name, int titleSize_px);

/// Puts the text up; an empty one takes the sign away.
void SilenceSign_show(const gtkPowerDisplay_Title& title, const char* text);

#endif
