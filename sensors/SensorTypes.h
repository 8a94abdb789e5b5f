#ifndef SENSORS_SENSOR_TYPES_H
#define SENSORS_SENSOR_TYPES_H

#include <cstdint>
#include <limits>

/// Records that describe a sensor. The sensor protocols fill them; displays, remote control and the
/// pulse configuration read copies.

/// The four sensor ports, always numbered this way.
enum SensorPort : uint32_t {
    sensorPort_Serial1 = 0,
    sensorPort_Serial2 = 1,
    sensorPort_USB1 = 2,
    sensorPort_USB2 = 3,
    sensorPort_None = 255
};
constexpr uint32_t sensorPortCount = 4;
constexpr uint32_t serialSensorCount = 2;
constexpr uint32_t usbSensorCount = 2;

/// A port's bit in the detection record.
constexpr uint32_t sensorPortBit_Serial1 = 0x01;
constexpr uint32_t sensorPortBit_Serial2 = 0x02;
constexpr uint32_t sensorPortBit_USB1 = 0x10;
constexpr uint32_t sensorPortBit_USB2 = 0x20;

/// Bit of a port, 0 for any other value.
constexpr uint32_t SensorPort_bit(uint32_t port) {
    constexpr uint32_t bits[sensorPortCount] = {sensorPortBit_Serial1, sensorPortBit_Serial2,
                                                sensorPortBit_USB1, sensorPortBit_USB2};
    return port < sensorPortCount ? bits[port] : 0;
}

/// True for the ports of the CW and pulse sensors.
constexpr bool SensorPort_isUsb(uint32_t port) {
    return port == sensorPort_USB1 || port == sensorPort_USB2;
}

enum enSensorState : uint32_t { sensorIdle = 0, sensorActive = 1, sensorError = 2 };
enum enSensorLogicalChannel : uint32_t {
    sensorLogicalChannel1 = 0,
    sensorLogicalChannel2 = 1,
    sensorLogicalNoChannel = 255
};
enum sensorPortState : int {
    sensorPortDisconnected = 0,
    sensorPortConnected = 1,
    sensorPortError = 2
};
enum SensorStatus : int { notReady = 0, isReady = 1, hasFatalError = 2 };

struct SENSOR_STATUS {
    SensorStatus status;
    char errorString[32];
};

/// How old a sensor's last value is.
struct SensorSilence {
    uint64_t
        time_ms; ///< since a value of any kind arrived; before the first one, since it is ready
    bool answersSlowly; ///< a serial sensor whose values come seldom
};

/// Hand-off record from detection to the GUI thread.
struct CONNECTED_SENSORS {
    uint32_t detectedSensors;        ///< port bits with a sensor
    uint32_t detectedSensorsChanged; ///< port bits whose presence changed since last consumed
    bool promptForlogicalChannel;    ///< the user must be asked for a channel
};

/// Measurement states of a pulse.
constexpr uint32_t pulseStateCount = 4;

struct PULSE_STATES {
    float min;  ///< W
    float max;  ///< W
    float mean; ///< W
};

/// One port's latest readings. A missing reading is NaN.
struct SENSOR_MEASUREMENTS {
    float fwdPwrVal;      ///< W
    float rflPwrVal;      ///< W
    float freqVal;        ///< Hz
    float temperatureVal; ///< degrees Celsius
    float batteryVal;
    float prdVal;       ///< s
    float prfVal;       ///< Hz
    float widthVal;     ///< s
    float dutyCycleVal; ///< percent
    PULSE_STATES pulseStates[pulseStateCount];
    float gateMean; ///< W
    float gateMax;  ///< W
    float gateMin;  ///< W
    int statusByte;
    int systemError;
    int questionable;
};

/// A record without readings: all zero, but forward, reflected, frequency and temperature NaN.
constexpr SENSOR_MEASUREMENTS SensorMeasurements_none() {
    constexpr float noReading = std::numeric_limits<float>::quiet_NaN();
    SENSOR_MEASUREMENTS none{};
    none.fwdPwrVal = noReading;
    none.rflPwrVal = noReading;
    none.freqVal = noReading;
    none.temperatureVal = noReading;
    return none;
}

struct PULSE_RANGES {
    float min;
    float max;
};
struct PULSE_DELAY_RANGES {
    PULSE_RANGES begin;
    PULSE_RANGES end;
};

/// What a sensor tells of itself. Texts are terminated.
struct SENSOR_IDENTITY {
    char sensorModel[21];
    char sensorFirmwareRevision[49];
    char sensorSupportedCommands[17];
    PULSE_RANGES sensorPower;                        ///< W
    PULSE_RANGES sensorPrf;                          ///< Hz
    PULSE_RANGES sensorFrequency;                    ///< Hz
    PULSE_RANGES sensorPulsePeriod;                  ///< s
    PULSE_RANGES sensorTriggerDelay;                 ///< s
    PULSE_DELAY_RANGES pulseStates[pulseStateCount]; ///< s
};

/// Digits of a sensor's serial number and their terminator.
constexpr uint32_t sensorSerialNumberSize = 10;

struct PULSE_STATE_INTVL {
    bool bEnabled;
    float begin; ///< s
    float end;   ///< s
};

/// A USB sensor's measurement configuration.
struct SENSOR_CONFIGS {
    bool bAutoFrequency;
    float freqVal; ///< Hz
    bool bSupportsAutoPeriod;
    bool bSupportsAutoTiggerLevel;
    bool bSupportsTriggeredGates;
    bool bAutoPeriod;
    float prdVal; ///< s
    bool bAutoTriggerLevel;
    float trigLevelVal; ///< W
    float trigDelayVal; ///< s
    uint8_t trigSlope;  ///< 1 = positive
    bool bModelIsTriggeredGates;
    PULSE_STATE_INTVL pulseStates[pulseStateCount];
    uint8_t numStates;
    float gateBegin; ///< s
    float gateEnd;   ///< s
};

/// Gives a configuration the capability flags of another one.
constexpr void SensorConfigs_takeCapabilities(SENSOR_CONFIGS* configs,
                                              const SENSOR_CONFIGS& source) {
    configs->bSupportsAutoPeriod = source.bSupportsAutoPeriod;
    configs->bSupportsAutoTiggerLevel = source.bSupportsAutoTiggerLevel;
    configs->bSupportsTriggeredGates = source.bSupportsTriggeredGates;
}

#endif
