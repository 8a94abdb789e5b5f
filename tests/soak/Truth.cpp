#include "Truth.h"

#include <algorithm>

namespace {

constexpr std::array<const char*, soakPortCount> portNames = {"serial1", "serial2", "usb1", "usb2"};

/// The meter admits USB sensors first.
constexpr std::array<size_t, soakPortCount> admissionOrder = {2, 3, 0, 1};

PortTruth& at(Truth& truth, int port) {
    return truth.ports.at(static_cast<size_t>(port));
}

const PortTruth& at(const Truth& truth, int port) {
    return truth.ports.at(static_cast<size_t>(port));
}

void giveChannel(Truth& truth, int port, int channel) {
    at(truth, port).channel = channel;
    at(truth, port).connected = SoakClock::now();
}

/// Where one of two sensors has a channel, the other one takes the other.
void shareChannels(Truth& truth) {
    const auto [first, second] = truth.slots;
    if (first < 0 || second < 0) {
        return;
    }
    if (at(truth, first).channel >= 0 && at(truth, second).channel < 0) {
        giveChannel(truth, second, 1 - at(truth, first).channel);
    } else if (at(truth, second).channel >= 0 && at(truth, first).channel < 0) {
        giveChannel(truth, first, 1 - at(truth, second).channel);
    }
}

void admit(Truth& truth) {
    for (const size_t port : admissionOrder) {
        auto* slot = std::ranges::find(truth.slots, -1);
        if (truth.ports.at(port).isPlugged && !truth.ports.at(port).isConnected &&
            slot != truth.slots.end()) {
            *slot = static_cast<int>(port);
            truth.ports.at(port).isConnected = true;
            truth.ports.at(port).connected = SoakClock::now();
        }
    }
    shareChannels(truth);
    truth.presenceChanged = SoakClock::now();
}

double recoverTime_s(size_t port) {
    return Truth_isUsb(port) ? soakTimes::recoverUsb : soakTimes::recoverSerial;
}

bool isDisturbed(const Truth& truth, size_t port) {
    const PortTruth& sensor = truth.ports.at(port);
    return !sensor.fault.empty() || !Truth_isPast(truth, sensor.faultEnded, sensor.recover_s);
}

} // namespace

const char* Truth_portName(size_t port) {
    return portNames.at(port);
}

bool Truth_isPast(const Truth& truth, SoakTime since, double meter_s) {
    const std::chrono::duration<double> gone = SoakClock::now() - since;
    return gone.count() > meter_s / truth.speed + soakTimes::machineReal;
}

void Truth_plug(Truth& truth, size_t port, PortTruth sensor) {
    truth.ports.at(port) = std::move(sensor);
    truth.ports.at(port).isPlugged = true;
    truth.ports.at(port).changed = SoakClock::now();
    admit(truth);
}

void Truth_unplug(Truth& truth, size_t port) {
    truth.ports.at(port) = {};
    std::ranges::replace(truth.slots, static_cast<int>(port), -1);
    admit(truth);
}

void Truth_setPowers(Truth& truth, size_t port, double forward_W, double reflected_W) {
    auto& values = truth.ports.at(port).values;
    if (!values.empty()) {
        values.back().replaced = SoakClock::now();
    }
    values.push_back({forward_W, reflected_W, std::nullopt});
}

void Truth_beginFault(Truth& truth, size_t port, const std::string& name) {
    PortTruth& sensor = truth.ports.at(port);
    // Before the readings run, everything is asked for once: what is made up then stays.
    const bool wasMeasuring = Truth_mustMeasure(truth, port);
    const bool makesUp = name == "noise" || name == "chatter" || name == "garbage";
    const bool makesUpIdentity = makesUp || name == "hostile";
    sensor.isTitleKnown =
        sensor.isTitleKnown && (!makesUpIdentity || (Truth_isUsb(port) && wasMeasuring));
    sensor.falsifies = sensor.falsifies || makesUp;
    // What has not been recovered from when the next fault begins still has to be.
    const double recover_s = recoverTime_s(port);
    sensor.recover_s = isDisturbed(truth, port) ? std::max(recover_s, sensor.recover_s) : recover_s;
    sensor.hasFallenSilent = wasMeasuring && name == "silence";
    sensor.fault = name;
    sensor.faultBegan = SoakClock::now();
}

void Truth_endFault(Truth& truth, size_t port) {
    truth.ports.at(port).fault.clear();
    truth.ports.at(port).faultEnded = SoakClock::now();
}

int Truth_waitsForChannel(const Truth& truth) {
    const auto [first, second] = truth.slots;
    const bool firstWaits = first >= 0 && at(truth, first).channel < 0;
    const bool secondWaits = second >= 0 && at(truth, second).channel < 0;
    return firstWaits ? first : secondWaits ? second : -1;
}

void Truth_choose(Truth& truth, size_t port, int channel) {
    giveChannel(truth, static_cast<int>(port), channel);
    shareChannels(truth);
    truth.presenceChanged = SoakClock::now();
}

int Truth_portOfChannel(const Truth& truth, int channel) {
    const auto* slot = std::ranges::find_if(
        truth.slots, [&](int port) { return port >= 0 && at(truth, port).channel == channel; });
    return slot == truth.slots.end() ? -1 : *slot;
}

int Truth_shownCount(const Truth& truth) {
    return static_cast<int>(std::ranges::count_if(
        truth.slots, [&](int port) { return port >= 0 && at(truth, port).channel >= 0; }));
}

bool Truth_isLayoutSettled(const Truth& truth) {
    return Truth_waitsForChannel(truth) < 0 &&
           Truth_isPast(truth, truth.presenceChanged, soakTimes::layout);
}

bool Truth_mustMeasure(const Truth& truth, size_t port) {
    const PortTruth& sensor = truth.ports.at(port);
    const double connect_s = Truth_isUsb(port) ? soakTimes::connectUsb : soakTimes::connectSerial;
    return sensor.isConnected && sensor.channel >= 0 && !isDisturbed(truth, port) &&
           Truth_isPast(truth, sensor.connected, connect_s);
}

bool Truth_isHonest(const Truth& truth, size_t port) {
    return !truth.ports.at(port).falsifies || !isDisturbed(truth, port);
}

bool Truth_isSilent(const Truth& truth, size_t port) {
    const PortTruth& sensor = truth.ports.at(port);
    return !sensor.fault.empty() && sensor.hasFallenSilent &&
           Truth_isPast(truth, sensor.faultBegan, soakTimes::callsOld);
}

double Truth_greatestAge_s(const Truth& truth, size_t port) {
    const std::chrono::duration<double> faulty = SoakClock::now() - truth.ports.at(port).faultBegan;
    return (faulty.count() + soakTimes::machineReal) * truth.speed + soakTimes::isNotOld;
}

bool Truth_isFollowed(const Truth& truth, size_t port) {
    return Truth_mustMeasure(truth, port) &&
           Truth_isPast(truth, truth.ports.at(port).changed, soakTimes::follow);
}

std::vector<TruthValue> Truth_shownValues(Truth& truth, size_t port) {
    PortTruth& sensor = truth.ports.at(port);
    // A disturbed sensor's last good reading stays for as long as it takes.
    if (!isDisturbed(truth, port) &&
        Truth_isPast(truth, truth.presenceChanged, soakTimes::follow)) {
        std::erase_if(sensor.values, [&](const TruthValue& value) {
            return value.replaced && Truth_isPast(truth, *value.replaced, soakTimes::follow);
        });
        sensor.falsifies = false;
    }
    return sensor.values;
}
