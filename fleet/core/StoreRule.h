#ifndef FLEET_CORE_STORE_RULE_H
#define FLEET_CORE_STORE_RULE_H

#include "FleetReading.h"

/// Which readings of a channel are worth storing. A meter answers its latest reading again until
/// there is a new one: of equal readings the first is stored, and then one a second at most; not
/// none, because a value that is stored on change only looks lost on a chart.
struct StoreRule {
    bool hasLast = false;
    FleetReading last; ///< that was stored
};

/// True for a reading that is to be stored, which is then taken for stored.
bool StoreRule_take(StoreRule& rule, const FleetReading& reading);

#endif
