#ifndef TESTS_SOAK_ACTIONS_H
#define TESTS_SOAK_ACTIONS_H

#include "Soak.h"

/// What happens to the meter: one table of actions with their weights, one function each.

/// Does one thing picked at random among those that are possible now.
void Actions_do(Soak& soak);

/// Ends every fault, pulls every sensor and waits for the screen that says so: the state in which
/// memory, descriptors and threads are compared. False when that does not come.
bool Actions_bringToRest(Soak& soak);

#endif
