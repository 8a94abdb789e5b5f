#ifndef TESTS_SOAK_SETUP_ACTIONS_H
#define TESTS_SOAK_SETUP_ACTIONS_H

#include "Soak.h"

/// What a remote client sets up, the supply and the disk. Each function does one thing, checks its
/// effect and notes it, or returns false when it is not possible now.

/// Switches between pulse and CW mode.
bool SetupActions_pulseMode(Soak& soak);
/// Stages settings of a USB sensor, commits them, and reads them back from the sensor.
bool SetupActions_commit(Soak& soak);
/// Stages settings of the command port and restarts it.
bool SetupActions_serialPort(Soak& soak);
/// Stages an address or DHCP and restarts the network.
bool SetupActions_lan(Soak& soak);
/// Battery level, charger and external power, far from switching off.
bool SetupActions_supply(Soak& soak);
/// The disk that keeps the settings becomes slow, or quick again.
bool SetupActions_disk(Soak& soak);

#endif
