#ifndef APP_CORE_I2C_BUS_H
#define APP_CORE_I2C_BUS_H

#include <pthread.h>

/// Serialises the traffic of charger, fuel gauge and current monitors on the I2C bus. Valid from
/// the program's start; held for single accesses only, and no other lock is taken meanwhile but an
/// event's or a copying one.
extern pthread_mutex_t i2cMutex;

#endif
