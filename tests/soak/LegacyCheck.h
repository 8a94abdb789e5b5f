#ifndef TESTS_SOAK_LEGACY_CHECK_H
#define TESTS_SOAK_LEGACY_CHECK_H

#include "Soak.h"

/// Asks one thing of the older meter's protocol on the command port and compares the reply with the
/// truth: a status at any time, a reading while the sensor that answers is measuring undisturbed.
void LegacyCheck_ask(Soak& soak);

/// Selects quantity, range and trigger, as a host of the older meter does; nothing is answered.
void LegacyCheck_select(Soak& soak);

#endif
