#ifndef TESTS_SOAK_GROWTH_H
#define TESTS_SOAK_GROWTH_H

#include "Soak.h"

#include <optional>

/// Memory, descriptors and threads of the meter, compared at rest: no sensor, no dialog, both links
/// connected.

struct Growth {
    int restCount = 0;
    std::optional<ProgramUse> start; ///< after the warm-up
    ProgramUse last{};
    ProgramUse most{};
};

/// Measures a meter that has been brought to rest. `isWarm`: start-up's caches are filled.
void Growth_measure(Growth& growth, Soak& soak, bool isWarm);

/// Every thread of the meter that tells that it is alive has done so lately, and the meter itself
/// is the process that was started.
void Growth_checkAlive(Soak& soak);

void Growth_print(const Growth& growth);

#endif
