#include "I2cBus.h"

pthread_mutex_t i2cMutex = PTHREAD_MUTEX_INITIALIZER;
