#ifndef TESTS_SOAK_SCREEN_CHECK_H
#define TESTS_SOAK_SCREEN_CHECK_H

#include "Soak.h"

/// Looks at the meter's screen once and compares what it shows with what is true: which sensors are
/// shown and where, their names, every power, match, time and frequency with its units and colour,
/// the texts without a sensor, the battery. Answers the channel dialog when it is there.
void ScreenCheck_look(Soak& soak);

/// What the widgets of a channel's present screen are called ahead of the first dot: "single",
/// "upperGraph", "pulse". Empty when no sensor measures there for certain.
std::string ScreenCheck_prefix(const Soak& soak, int channel);

#endif
