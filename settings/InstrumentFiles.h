#ifndef SETTINGS_INSTRUMENT_FILES_H
#define SETTINGS_INSTRUMENT_FILES_H

/// The files that this instrument keeps: the user's settings, the stored configuration of pulse
/// sensors, and model and serial number.

constexpr const char* settingsFileName =
    "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
constexpr const char* pulseSensorFileName = "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf";
constexpr const char* identityFileName = "/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf";

#endif
