#ifndef BENCH_DAEMON_SUPPLY_H
#define BENCH_DAEMON_SUPPLY_H

#include "Terminal.h"

#include <array>
#include <cstdint>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

/// The instrument's supply: charger, fuel gauge, external power and power switch. Charger and gauge
/// are files of the instrument's system; the switch is an input device.

enum ChargerState : uint32_t {
    chargerDischarging,
    chargerCharging,
    chargerFull,
    chargerDetecting,
    chargerMissing,
    chargerFailed,
    chargerIdle,
    chargerStateCount
};
extern const std::array<const char*, chargerStateCount> chargerStateNames;

struct Supply {
    std::string world;
    ChargerState state;
    double voltage_V;
    double temperature_C;
    double charge;   ///< the gauge's raw counts
    double failures; ///< part of the time that a file is missing, 0 to 1
    int64_t drainStart_ns;
    int64_t drainTime_ns; ///< 0: no drain
    double drainFrom_V;
    double drainFromCharge;
    int64_t nextStep_ns; ///< when a drain or the failures go on
    uint32_t random;
    Terminal powerSwitch;
    bool isSwitchHeld;
    int watcher; ///< of the switch and the gauge's files
    int switchWatch;
};

/// Writes the files of a charging battery and opens the switch. False on error.
bool Supply_open(Supply& supply, const std::string& world);
void Supply_close(Supply& supply);

/// "state=", "volts=", "temp=", "charge=" or "fail="; false and the reason for anything else.
bool Supply_set(Supply& supply, std::string_view key, std::string_view value, int64_t now_ns,
                std::string& error);

/// Discharges to an empty battery within this time.
void Supply_drain(Supply& supply, double time_s, int64_t now_ns);

/// External power comes or goes; a battery that is full stays so.
void Supply_setExternalPower(Supply& supply, bool isOn);

/// One press of the power switch: an input event.
void Supply_pressSwitch(Supply& supply);

/// Presses the switch and keeps it held, or lets it go: an input event each. Whoever opens it is
/// told that it is held, as the kernel does.
void Supply_holdSwitch(Supply& supply, bool isHeld);

void Supply_collect(const Supply& supply, std::vector<pollfd>& waiting);

void Supply_service(Supply& supply, int64_t now_ns);
int64_t Supply_nextDue_ns(const Supply& supply);

/// One line of the supply and one for each of the charger's files, as the program left it.
std::string Supply_describe(const Supply& supply);

#endif
