#ifndef REMOTE_SCPI_RECORD_H
#define REMOTE_SCPI_RECORD_H

#include "SensorManager.h"
#include "SensorTypes.h"
#include "scpi/scpi.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <termios.h>

/// The remote-control record: the instrument's identity, the mirror of the latest measurements, the
/// working copies of the pulse configurations, and the settings that are staged remotely.

constexpr size_t scpiChannelCount = 2;
constexpr size_t scpiInputBufferSize = 256;
constexpr size_t scpiErrorQueueSize = 17;
constexpr size_t scpiIdentitySize = 16;
constexpr size_t scpiLanTextSize = 16;
constexpr size_t scpiFwVersionSize = 128;

enum scpi_sensor_config_state_t : int {
    NotInitialized = 0, ///< no copy taken yet
    Syncronized = 1,    ///< as the sensor's configuration was at the latest command
    Modified = 2        ///< changed remotely, not yet committed
};

struct scpi_sensor_config {
    scpi_sensor_config_state_t state;
    SENSOR_CONFIGS config;
};

/// Staged serial settings as numbers; 0 means that nothing is staged.
struct _tty_config_s {
    int32_t speed;  ///< 300 to 9600 baud
    int32_t size;   ///< data bits, 7 or 8
    int32_t stopb;  ///< stop bits, 1 or 2
    int32_t parity; ///< row of parity_table: 1 = none, 2 = even, 3 = odd
};
using TTY_CONFIG_S = _tty_config_s;

/// The same settings as terminal-control values.
struct _tty_config_bits_s {
    speed_t speed;
    tcflag_t size;
    tcflag_t stopb;
    tcflag_t parity;
};
using TTY_CONFIG_BITS_S = _tty_config_bits_s;

/// Texts are dotted quads, empty when nothing is staged.
struct lanConfigIp {
    int32_t method; ///< 0 = DHCP, 1 = static
    char address[scpiLanTextSize];
    char netmask[scpiLanTextSize];
    char gateway[scpiLanTextSize];
};
using LANCONFIG_IP_S = lanConfigIp;

struct _scpi_s {
    pthread_mutex_t lock; ///< of all below but the links' own; innermost, for copies only
    bool chanValid[scpiChannelCount];
    SensorInstance* sensor[scpiChannelCount];
    char modelNum[scpiIdentitySize];
    char serialNum[scpiIdentitySize];
    char fwVersion[scpiFwVersionSize];
    SENSOR_MEASUREMENTS measurements[scpiChannelCount];
    scpi_sensor_config configs[scpiChannelCount];
    scpi_t tcpContext;
    char tcpInputBuffer[scpiInputBufferSize];
    scpi_error_t tcpErrorQueueData[scpiErrorQueueSize];
    scpi_t serContext;
    char serInputBuffer[scpiInputBufferSize];
    scpi_error_t serErrorQueueData[scpiErrorQueueSize];
    TTY_CONFIG_S newTty;
    TTY_CONFIG_BITS_S newTtyBits;
    LANCONFIG_IP_S curLan; ///< reserved
    LANCONFIG_IP_S newLan;
    bool (*checkIp)(const char* text);
    bool (*checkNetmask)(const char* text);
};
using SCPI_S = _scpi_s;

/// The record, null before initScpiParser and after destroyScpiParser.
extern std::atomic<SCPI_S*> scpi;

/// Makes the record with the instrument's identity. Exits the process if it cannot. Main thread,
/// before the servers.
void initScpiParser();

/// Frees the record. No other thread may use it any more.
void destroyScpiParser();

/// Takes a sensor's new measurement into the mirror of the channel that the sensor has. Does
/// nothing before there is a record. Any thread; takes the record's lock.
void scpiUpdateMeasurement(uint32_t index, SENSOR_MEASUREMENTS measurement);

/// Refreshes which sensor each channel has. A sensor that is newly connected makes the channel's
/// working copy NotInitialized and its mirror empty. False when there is no record or no sensor.
/// Any thread; takes the record's lock.
bool scpiGetSensor();

/// Port of a channel's sensor as of the latest refresh; sensorPort_None for a channel without one
/// or above 1. Any thread.
uint32_t ScpiRecord_sensorPort(size_t channel);

/// Copies; a channel above 1 gives a record without readings, and an empty configuration. Any
/// thread.
SENSOR_MEASUREMENTS ScpiRecord_measurements(size_t channel);
scpi_sensor_config ScpiRecord_workingCopy(size_t channel);

/// Stores a sensor's own configuration as the channel's copy and marks it Syncronized, unless the
/// channel's sensor is another one by now. The second leaves a copy alone that is Modified.
void ScpiRecord_synchronizeCopy(size_t channel, uint32_t port, const SENSOR_CONFIGS& config);
void ScpiRecord_refreshCopy(size_t channel, uint32_t port, const SENSOR_CONFIGS& config);

/// Empties the copy of a channel that has no sensor.
void ScpiRecord_forgetCopy(size_t channel);

#endif
