#include "Supply.h"

#include "BenchText.h"
#include "WorldFolder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <linux/input.h>
#include <optional>
#include <sys/inotify.h>
#include <unistd.h>
#include <vector>

const std::array<const char*, chargerStateCount> chargerStateNames = {
    "discharging", "charging", "full", "detecting", "missing", "failed", "idle"};

namespace {

constexpr std::array<int, chargerStateCount> chargerWords = {0x100, 0x40,   0x08, 0x800,
                                                             0x02,  0x1000, 0x200};

constexpr const char* chargerFolder = "/sys/devices/virtual/battery_charger/ltc4162/";
constexpr const char* gaugeFolder = "/sys/class/power_supply/fuel_gauge/";
constexpr std::array chargerFiles = {"armShipMode_raw",       "configBits_raw", "cOverXTerm_enable",
                                     "inputCurrentLimit_raw", "cellCount",      "chargerState_raw"};

constexpr const char* powerSwitchDevice = "/dev/input/event0";

constexpr int64_t step_ns = 200000000;
constexpr double empty_V = 10.2;
constexpr double emptyCharge = 5940950;

std::string gaugePath(const char* name) {
    return std::string(gaugeFolder) + name;
}

std::string chargerPath(const char* name) {
    return std::string(chargerFolder) + name;
}

void writeNumber(const Supply& supply, const std::string& path, double value) {
    WorldFolder_write(supply.world, path, std::to_string(std::lround(value)) + "\n");
}

void writeState(const Supply& supply) {
    writeNumber(supply, chargerPath("chargerState_raw"), chargerWords.at(supply.state));
    writeNumber(supply, gaugePath("current_now"),
                supply.state == chargerDischarging ? -920000
                : supply.state == chargerCharging  ? 850000
                                                   : 0);
}

void writeVoltage(const Supply& supply) {
    writeNumber(supply, gaugePath("voltage_now"), supply.voltage_V * 1e6);
}

void writeTemperature(const Supply& supply) {
    writeNumber(supply, gaugePath("temp"), supply.temperature_C * 10);
}

/// The gauge counts in steps, and knows no charge between two of them.
long countedCharge(double charge) {
    constexpr long hundredSteps = 188888;
    const long step = static_cast<long>(charge) * 100 / hundredSteps;
    return step * hundredSteps / 100;
}

void writeCharge(const Supply& supply) {
    writeNumber(supply, gaugePath("charge_now"), static_cast<double>(countedCharge(supply.charge)));
}

/// The program ends what it writes with zero bytes.
std::optional<double> chargeInFile(const Supply& supply) {
    const std::string content = WorldFolder_read(supply.world, gaugePath("charge_now"));
    return BenchText_number(content.substr(0, content.find_first_of(std::string("\0\n", 2))));
}

/// What the program writes into the gauge's counter becomes a count. A count is read without its
/// fraction, so that the number above it belongs to the same step.
void takeWrittenCharge(const Supply& supply) {
    const auto written = chargeInFile(supply);
    if (written && countedCharge(*written + 1) != std::lround(*written)) {
        writeNumber(supply, gaugePath("charge_now"), static_cast<double>(countedCharge(*written)));
    }
}

void tellSwitch(const Supply& supply, int value) {
    input_event event{};
    event.type = EV_KEY;
    event.code = KEY_POWER;
    event.value = value;
    Terminal_write(supply.powerSwitch, {reinterpret_cast<const char*>(&event), sizeof event});
}

bool watch(Supply& supply) {
    const std::string world = supply.world;
    supply.watcher = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    supply.switchWatch = inotify_add_watch(
        supply.watcher, WorldFolder_path(world, powerSwitchDevice).c_str(), IN_OPEN);
    return supply.switchWatch >= 0 &&
           inotify_add_watch(supply.watcher, WorldFolder_path(world, gaugeFolder).c_str(),
                             IN_CLOSE_WRITE | IN_MOVED_TO) >= 0;
}

/// Takes up what the program has done with the files since the last time.
void heedProgram(const Supply& supply) {
    alignas(inotify_event) std::array<char, 4096> events{};
    const ssize_t size = read(supply.watcher, events.data(), events.size());
    for (ssize_t at = 0; at < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
        if (event->wd != supply.switchWatch) {
            takeWrittenCharge(supply);
        } else if (supply.isSwitchHeld) {
            tellSwitch(supply, 1);
        }
        at += static_cast<ssize_t>(sizeof *event + event->len);
    }
}

double nextRandom(Supply& supply) {
    supply.random = supply.random * 1664525U + 1013904223U;
    return static_cast<double>(supply.random >> 8U) / static_cast<double>(1U << 24U);
}

void stepDrain(Supply& supply, int64_t now_ns) {
    const double part = std::clamp(static_cast<double>(now_ns - supply.drainStart_ns) /
                                       static_cast<double>(supply.drainTime_ns),
                                   0.0, 1.0);
    supply.voltage_V = supply.drainFrom_V + (empty_V - supply.drainFrom_V) * part;
    supply.charge = supply.drainFromCharge + (emptyCharge - supply.drainFromCharge) * part;
    supply.drainTime_ns = part < 1 ? supply.drainTime_ns : 0;
}

// A file that fails is simply not there until the next step; the state files are written anew by
// each step, so one that comes back holds the present value.
void stepFailures(Supply& supply) {
    for (const std::string& path : {gaugePath("voltage_now"), gaugePath("charge_now"),
                                    gaugePath("temp"), chargerPath("chargerState_raw")}) {
        if (nextRandom(supply) < supply.failures) {
            unlink(WorldFolder_path(supply.world, path).c_str());
        }
    }
}

void writeAll(const Supply& supply) {
    writeState(supply);
    writeVoltage(supply);
    writeTemperature(supply);
    writeCharge(supply);
}

bool setState(Supply& supply, std::string_view value, std::string& error) {
    const auto* found = std::ranges::find(chargerStateNames, value);
    if (found == chargerStateNames.end()) {
        error = "state: unknown state '" + std::string(value) + "': there are " +
                BenchText_list({chargerStateNames.begin(), chargerStateNames.end()});
        return false;
    }
    supply.state = static_cast<ChargerState>(found - chargerStateNames.begin());
    writeState(supply);
    return true;
}

struct NumberKey {
    std::string_view name;
    double Supply::*field;
    double least;
    double most;
    void (*write)(const Supply&);
};
constexpr std::array<NumberKey, 4> numberKeys{{
    {"volts", &Supply::voltage_V, 0, 100, writeVoltage},
    {"temp", &Supply::temperature_C, -100, 200, writeTemperature},
    {"charge", &Supply::charge, 0, 2e9, writeCharge},
    {"fail", &Supply::failures, 0, 1, writeAll},
}};

bool isMoving(const Supply& supply) {
    return supply.drainTime_ns > 0 || supply.failures > 0;
}

} // namespace

bool Supply_open(Supply& supply, const std::string& world) {
    supply.world = world;
    supply.state = chargerCharging;
    supply.voltage_V = 11.7;
    supply.temperature_C = 27;
    supply.charge = 9000000;
    supply.random = 4162;
    supply.nextStep_ns = std::numeric_limits<int64_t>::max();
    supply.isSwitchHeld = false;
    supply.watcher = -1;
    return Terminal_open(supply.powerSwitch, WorldFolder_path(world, powerSwitchDevice)) &&
           watch(supply);
}

void Supply_close(Supply& supply) {
    Terminal_close(supply.powerSwitch);
    if (supply.watcher >= 0) {
        close(supply.watcher);
        supply.watcher = -1;
    }
}

bool Supply_set(Supply& supply, std::string_view key, std::string_view value, int64_t now_ns,
                std::string& error) {
    if (key == "state") {
        return setState(supply, value, error);
    }
    const auto* row = std::ranges::find(numberKeys, key, &NumberKey::name);
    if (row == numberKeys.end()) {
        error = "unknown key '" + std::string(key) +
                "': a battery has state, volts, temp, charge and fail";
        return false;
    }
    const auto number = BenchText_number(value);
    if (!number || *number < row->least || *number > row->most) {
        error = std::string(key) + ": '" + std::string(value) + "' is not a number from " +
                BenchText_format("%g to %g", row->least, row->most);
        return false;
    }
    supply.*row->field = *number;
    row->write(supply);
    supply.nextStep_ns = isMoving(supply) ? now_ns : std::numeric_limits<int64_t>::max();
    return true;
}

void Supply_drain(Supply& supply, double time_s, int64_t now_ns) {
    supply.charge = chargeInFile(supply).value_or(supply.charge);
    supply.state = chargerDischarging;
    supply.drainFrom_V = supply.voltage_V;
    supply.drainFromCharge = supply.charge;
    supply.drainStart_ns = now_ns;
    supply.drainTime_ns = static_cast<int64_t>(time_s * 1e9);
    supply.nextStep_ns = now_ns;
    writeState(supply);
}

void Supply_setExternalPower(Supply& supply, bool isOn) {
    if (isOn) {
        supply.drainTime_ns = 0;
    }
    const bool staysAsItIs = isOn && supply.state != chargerDischarging;
    supply.state = staysAsItIs ? supply.state : isOn ? chargerCharging : chargerDischarging;
    writeState(supply);
}

void Supply_pressSwitch(Supply& supply) {
    tellSwitch(supply, 1);
}

void Supply_holdSwitch(Supply& supply, bool isHeld) {
    heedProgram(supply); // who has opened it already is told once
    supply.isSwitchHeld = isHeld;
    tellSwitch(supply, isHeld ? 1 : 0);
}

void Supply_collect(const Supply& supply, std::vector<pollfd>& waiting) {
    waiting.push_back({supply.watcher, POLLIN, 0});
}

void Supply_service(Supply& supply, int64_t now_ns) {
    heedProgram(supply);
    if (now_ns < supply.nextStep_ns) {
        return;
    }
    if (supply.drainTime_ns > 0) {
        stepDrain(supply, now_ns);
    }
    writeAll(supply);
    stepFailures(supply);
    supply.nextStep_ns = isMoving(supply) ? now_ns + step_ns : std::numeric_limits<int64_t>::max();
}

int64_t Supply_nextDue_ns(const Supply& supply) {
    return supply.nextStep_ns;
}

std::string Supply_describe(const Supply& supply) {
    std::string text = BenchText_format("battery: %s volts=%.3f temp=%.1f charge=%.0f fail=%g\n",
                                        chargerStateNames.at(supply.state), supply.voltage_V,
                                        supply.temperature_C, supply.charge, supply.failures);
    for (const char* file : chargerFiles) {
        const std::string content = WorldFolder_read(supply.world, chargerPath(file));
        const std::string value = content.substr(0, content.find_first_of(std::string("\0\n", 2)));
        text += BenchText_format("  %s: %s\n", file, value.c_str());
    }
    return text;
}
