#ifndef TESTS_SUPPORT_NAMED_CATEGORIES_H
#define TESTS_SUPPORT_NAMED_CATEGORIES_H

#include "LogManager.h"

/// The trace's categories and the names by which its configuration file selects them.
struct NamedCategory {
    lmCategories category;
    const char* name;
};
inline constexpr NamedCategory namedCategories[] = {
    {NoCategory, "None"},
    {ThreadMonitor, "ThreadMonitor"},
    {SensorCommunications, "SensorCommunications"},
    {SensorDetection, "SensorDetection"},
    {PowerManagement, "PowerManagement"},
    {I2CTransactions, "I2CTransactions"},
    {TestSerialPort, "TestSerialPort"},
    {BatteryMonitor, "BatteryMonitor"},
    {ScpiParser, "ScpiParser"},
    {SensorMmngr, "SensorManager"},
};

#endif
