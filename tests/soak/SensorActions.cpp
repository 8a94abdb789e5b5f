#include "SensorActions.h"

#include "BenchText.h"
#include "Sensor316x.h"
#include "Sensor513x.h"

#include <array>

namespace {

constexpr std::array serialFaults = {"silence", "short",   "wrongsync", "chatter",
                                     "slow",    "hostile", "noise",     "cut"};
constexpr std::array usbFaults = {"silence", "late",     "garbage",   "hostile",
                                  "stall",   "stallin",  "deaf",      "stallclear",
                                  "empty",   "padded",   "babble",    "noise",
                                  "cut",     "cutreply", "cutdevice", "error:-222:SENS:FREQ"};
constexpr double leastFault = 4; ///< a fault lasts at least so long
constexpr size_t faultsAtOnce = 2;
constexpr double cutLimit = 15; ///< the next message of a measuring sensor is sent by then
constexpr double widthOfPeriod = 0.25;

bool isPresenceFree(const Soak& soak) {
    return SoakClock::now() >= soak.presenceAllowed;
}

/// Sensors stay for a moment or for long enough to be looked at; an empty port does not stay empty.
void holdPresence(Soak& soak) {
    constexpr double machine_s = 0.5;
    const bool isFull = Truth_waitsForChannel(soak.truth) < 0 && Truth_shownCount(soak.truth) == 2;
    const int longest_s = Soak_pick(soak, 0, 3) == 0 ? 3 : isFull ? 150 : 25;
    const double meter_s = Soak_pick(soak, static_cast<int>(soakTimes::presenceGap), longest_s);
    const std::chrono::duration<double> gap(meter_s / soak.truth.speed + machine_s);
    soak.presenceAllowed = SoakClock::now() + std::chrono::duration_cast<SoakClock::duration>(gap);
}

bool command(Soak& soak, const std::string& kind, const std::string& line) {
    Report_action(soak.report, kind, line);
    if (!Bench_do(soak.bench, line)) {
        Report_finding(soak.report, "bench", "refuses " + line);
        return false;
    }
    return true;
}

/// A port for which the condition holds, picked at random; -1 for none.
template <typename Condition> int pickPort(Soak& soak, Condition condition) {
    std::vector<int> ports;
    for (size_t port = 0; port < soakPortCount; ++port) {
        if (condition(soak.truth.ports.at(port), port)) {
            ports.push_back(static_cast<int>(port));
        }
    }
    return ports.empty() ? -1
                         : ports.at(static_cast<size_t>(
                               Soak_pick(soak, 0, static_cast<int>(ports.size()) - 1)));
}

template <size_t count>
std::string pickName(Soak& soak, const std::array<const char*, count>& names) {
    return names.at(static_cast<size_t>(Soak_pick(soak, 0, static_cast<int>(count) - 1)));
}

PortTruth makeSerial(Soak& soak) {
    const auto models = Sensor513x_models();
    const Model513x& model =
        models[static_cast<size_t>(Soak_pick(soak, 0, static_cast<int>(models.size()) - 1))];
    PortTruth sensor;
    sensor.model = model.modelText;
    sensor.serial = model.serialNumber == nullptr
                        ? ""
                        : BenchText_format("%09d", Soak_pick(soak, 1, 999999999));
    sensor.title = sensor.model + ": " + sensor.serial;
    sensor.max_W = model.maxPower_W;
    sensor.min_W = model.minPower_W;
    sensor.frequency_Hz = 13.56e6;
    sensor.temperature_C = 31.5;
    return sensor;
}

PortTruth makeUsb(Soak& soak) {
    const auto models = Sensor316x_models();
    const Model316x& model =
        models[static_cast<size_t>(Soak_pick(soak, 0, static_cast<int>(models.size()) - 1))];
    PortTruth sensor;
    sensor.model = model.name;
    sensor.serial = BenchText_format("%09d", Soak_pick(soak, 1, 999999999));
    sensor.title = sensor.model + ": " + sensor.serial;
    sensor.max_W = model.maxPower_W;
    sensor.min_W = model.minPower_W;
    sensor.frequency_Hz = 13.56e6;
    sensor.temperature_C = 33;
    sensor.period_s = 0.001;
    sensor.width_s = sensor.period_s * widthOfPeriod;
    return sensor;
}

/// Every second sensor takes its time.
int pickLatency_ms(Soak& soak, bool isUsb) {
    constexpr int longestSerial_ms = 100;
    constexpr int longestUsb_ms = 40;
    const bool isSlow = Soak_pick(soak, 0, 1) == 1;
    return isSlow ? Soak_pick(soak, 1, isUsb ? longestUsb_ms : longestSerial_ms) : 0;
}

/// Now and then more than the sensor stands, or more than is sent back.
TruthValue pickPowers(Soak& soak, const PortTruth& sensor) {
    const double forward_W = Soak_pickPower(soak, sensor.min_W * 3, sensor.max_W * 1.5);
    const double reflected_W = Soak_pickPower(soak, sensor.min_W * 3, forward_W * 1.1);
    return {forward_W, reflected_W, std::nullopt};
}

bool isEmpty(Soak& soak, const std::string& port) {
    std::string status;
    return Bench_do(soak.bench, "status", &status) &&
           status.find(port + ": no sensor") != std::string::npos;
}

void pullCut(Soak& soak, size_t port) {
    const auto isPulled = [&] { return isEmpty(soak, soak.truth.ports.at(port).bench); };
    if (Bench_waitUntil(isPulled, Soak_limit_ms(soak, cutLimit))) {
        Truth_unplug(soak.truth, port);
    } else {
        Report_finding(soak.report, "cut",
                       std::string("the meter does not talk to ") + Truth_portName(port));
        SensorActions_pull(soak, port);
    }
    holdPresence(soak);
}

/// Of the meter's two USB ports, a sensor takes the first that is free.
size_t freeUsbPort(const Truth& truth) {
    return truth.ports.at(soakFirstUsb).isPlugged ? soakFirstUsb + 1 : soakFirstUsb;
}

std::string freeUsbNode(Soak& soak) {
    std::string node = Soak_pick(soak, 0, 1) == 0 ? "usb1" : "usb2";
    for (const PortTruth& sensor : soak.truth.ports) {
        if (sensor.isPlugged && sensor.bench == node) {
            return node == "usb1" ? "usb2" : "usb1";
        }
    }
    return node;
}

} // namespace

bool SensorActions_plug(Soak& soak) {
    const int port =
        pickPort(soak, [](const PortTruth& sensor, size_t) { return !sensor.isPlugged; });
    if (port < 0 || !isPresenceFree(soak)) {
        return false;
    }
    const bool isUsb = Truth_isUsb(static_cast<size_t>(port));
    const size_t index = isUsb ? freeUsbPort(soak.truth) : static_cast<size_t>(port);
    PortTruth sensor = isUsb ? makeUsb(soak) : makeSerial(soak);
    sensor.bench = isUsb ? freeUsbNode(soak) : Truth_portName(index);
    const TruthValue powers = pickPowers(soak, sensor);
    const std::string name = sensor.model == "SMK-250" ? "SMK" : sensor.model;
    std::string line = BenchText_format("plug %s %s fwd=%.9g rfl=%.9g", sensor.bench.c_str(),
                                        name.c_str(), powers.forward_W, powers.reflected_W);
    line += sensor.serial.empty() ? "" : " serial=" + sensor.serial;
    line +=
        isUsb ? BenchText_format(" period=%.9g width=%.9g", sensor.period_s, sensor.width_s) : "";
    line += BenchText_format(" latency=%dms", pickLatency_ms(soak, isUsb));
    if (!command(soak, "sensor: plug", line)) {
        return false;
    }
    sensor.values.push_back(powers);
    Truth_plug(soak.truth, index, std::move(sensor));
    holdPresence(soak);
    return true;
}

void SensorActions_pull(Soak& soak, size_t port) {
    if (soak.truth.ports.at(port).isPlugged &&
        command(soak, "sensor: unplug", "unplug " + soak.truth.ports.at(port).bench)) {
        Truth_unplug(soak.truth, port);
        holdPresence(soak);
    }
}

bool SensorActions_unplug(Soak& soak) {
    const int port =
        pickPort(soak, [](const PortTruth& sensor, size_t) { return sensor.isPlugged; });
    if (port < 0 || !isPresenceFree(soak)) {
        return false;
    }
    SensorActions_pull(soak, static_cast<size_t>(port));
    return true;
}

bool SensorActions_replug(Soak& soak) {
    // Only a sensor whose place nobody else can take, and whose channel nobody is asked for.
    size_t plugged = 0;
    for (const PortTruth& sensor : soak.truth.ports) {
        plugged += sensor.isPlugged ? 1 : 0;
    }
    const int port = pickPort(soak, [&](const PortTruth& sensor, size_t index) {
        const bool comesBackHere = !Truth_isUsb(index) || index == soakFirstUsb ||
                                   soak.truth.ports.at(soakFirstUsb).isPlugged;
        return sensor.isPlugged && comesBackHere && Truth_mustMeasure(soak.truth, index);
    });
    if (port < 0 || plugged != 2 || Truth_shownCount(soak.truth) != 2 || !isPresenceFree(soak)) {
        return false;
    }
    const auto index = static_cast<size_t>(port);
    const std::string bench = soak.truth.ports.at(index).bench;
    if (!command(soak, "sensor: quick replug",
                 BenchText_format("replug %s %dms", bench.c_str(), Soak_pick(soak, 20, 900)))) {
        return false;
    }
    // Until it is back nothing can be set on it.
    if (!Bench_waitUntil([&] { return !isEmpty(soak, bench); }, Soak_limit_ms(soak, 1))) {
        Report_finding(soak.report, "bench", bench + " does not come back");
    }
    soak.truth.ports.at(index).connected = SoakClock::now();
    soak.truth.presenceChanged = SoakClock::now();
    holdPresence(soak);
    return true;
}

bool SensorActions_setPowers(Soak& soak) {
    const int port =
        pickPort(soak, [](const PortTruth& sensor, size_t) { return sensor.isPlugged; });
    if (port < 0) {
        return false;
    }
    const auto index = static_cast<size_t>(port);
    const TruthValue powers = pickPowers(soak, soak.truth.ports.at(index));
    if (!command(soak, "sensor: powers",
                 BenchText_format("set %s fwd=%.9g rfl=%.9g",
                                  soak.truth.ports.at(index).bench.c_str(), powers.forward_W,
                                  powers.reflected_W))) {
        return false;
    }
    Truth_setPowers(soak.truth, index, powers.forward_W, powers.reflected_W);
    return true;
}

bool SensorActions_setOther(Soak& soak) {
    const int port =
        pickPort(soak, [](const PortTruth& sensor, size_t) { return sensor.isPlugged; });
    if (port < 0) {
        return false;
    }
    const auto index = static_cast<size_t>(port);
    PortTruth& sensor = soak.truth.ports.at(index);
    sensor.frequency_Hz = Soak_pick(soak, 400, 100000) * 1000.0;
    sensor.temperature_C = Soak_pick(soak, 100, 700) / 10.0;
    std::string line = BenchText_format("set %s freq=%.9g temp=%.9g", sensor.bench.c_str(),
                                        sensor.frequency_Hz, sensor.temperature_C);
    if (Truth_isUsb(index)) {
        sensor.period_s = Soak_pick(soak, 2, 9000) * 1e-6 * 8;
        sensor.width_s = sensor.period_s * widthOfPeriod;
        line += BenchText_format(" period=%.9g width=%.9g", sensor.period_s, sensor.width_s);
    }
    sensor.changed = SoakClock::now();
    return command(soak, "sensor: frequency, pulse", line);
}

bool SensorActions_beginFault(Soak& soak) {
    size_t broken = 0;
    for (const PortTruth& sensor : soak.truth.ports) {
        broken += sensor.fault.empty() ? 0 : 1;
    }
    const int port = pickPort(soak, [](const PortTruth& sensor, size_t) {
        return sensor.isConnected && sensor.channel >= 0 && sensor.fault.empty();
    });
    if (port < 0 || broken >= faultsAtOnce) {
        return false;
    }
    const auto index = static_cast<size_t>(port);
    const std::string name =
        Truth_isUsb(index) ? pickName(soak, usbFaults) : pickName(soak, serialFaults);
    const bool isCut = name.starts_with("cut");
    if (isCut && (!Truth_mustMeasure(soak.truth, index) || !isPresenceFree(soak))) {
        return false;
    }
    if (!command(soak, "fault: " + name,
                 "fault " + soak.truth.ports.at(index).bench + " " + name)) {
        return false;
    }
    if (isCut) {
        pullCut(soak, index);
    } else {
        Truth_beginFault(soak.truth, index, name);
    }
    return true;
}

bool SensorActions_endFault(Soak& soak) {
    const int port = pickPort(soak, [&](const PortTruth& sensor, size_t) {
        return !sensor.fault.empty() && Truth_isPast(soak.truth, sensor.faultBegan, leastFault);
    });
    if (port < 0) {
        return false;
    }
    const auto index = static_cast<size_t>(port);
    Truth_endFault(soak.truth, index);
    return command(soak, "fault: none", "fault " + soak.truth.ports.at(index).bench + " none");
}
