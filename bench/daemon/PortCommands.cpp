#include "PortCommands.h"

#include "BenchHardware.h"
#include "BenchText.h"
#include "WorldFolder.h"

#include <algorithm>
#include <optional>

namespace {

constexpr std::array<const char*, 4> portNames = {"serial1", "serial2", "usb1", "usb2"};
constexpr size_t firstUsb = 2;
constexpr double mostEntries = 1e15;

/// One of the four ports: the pointer of its kind is set, the other one null.
struct PortRef {
    SerialPortPlayer* serial;
    UsbPortPlayer* usb;
};

std::optional<PortRef> findPort(BenchHardware& hardware, std::string_view name) {
    const auto* found = std::ranges::find(portNames, name);
    if (found == portNames.end()) {
        return std::nullopt;
    }
    const auto index = static_cast<size_t>(found - portNames.begin());
    return index < firstUsb ? PortRef{&hardware.serial.at(index), nullptr}
                            : PortRef{nullptr, &hardware.usb.at(index - firstUsb)};
}

bool hasSensor(const PortRef& port) {
    return port.serial != nullptr ? port.serial->sensor.has_value() : port.usb->sensor.has_value();
}

CommandOutcome unknownPort(std::string_view name) {
    return CommandOutcome_refuse("unknown port " + CommandOutcome_quoted(name) + ": there are " +
                                 BenchText_list({portNames.begin(), portNames.end()}));
}

template <typename Table> CommandOutcome unknownModel(std::string_view name, const Table& models) {
    std::vector<std::string> names;
    for (const auto& model : models) {
        names.emplace_back(model.name);
    }
    return CommandOutcome_refuse("unknown model " + CommandOutcome_quoted(name) +
                                 ": this port takes " + BenchText_list(names));
}

/// Finds a port that has a sensor, or says why not.
std::optional<PortRef> occupiedPort(BenchHardware& hardware, std::string_view name,
                                    CommandOutcome& refusal) {
    const auto port = findPort(hardware, name);
    if (!port) {
        refusal = unknownPort(name);
        return std::nullopt;
    }
    if (!hasSensor(*port)) {
        refusal = CommandOutcome_refuse(std::string(name) + " has no sensor: plug one first");
        return std::nullopt;
    }
    return port;
}

bool setKey(Sensor513x& sensor, std::string_view key, std::string_view value, int64_t now_ns,
            std::string& error) {
    return Sensor513x_set(sensor, key, value, now_ns, error);
}

bool setKey(Sensor316x& sensor, std::string_view key, std::string_view value, int64_t now_ns,
            std::string& error) {
    return Sensor316x_set(sensor, key, value, now_ns, error);
}

bool setBaud(double& baud, std::string_view value, std::string& error) {
    const auto number = value == "unlimited" ? std::optional(0.0) : BenchText_number(value);
    if (!number || *number < 0) {
        error = "baud: " + CommandOutcome_quoted(value) + " is not a speed or unlimited";
        return false;
    }
    baud = *number;
    return true;
}

/// Applies "key=value" words from the `first` one on; `baud` belongs to the wire of a serial port.
/// Returns why not, empty when all were applied.
template <typename Sensor>
std::string applyKeys(Sensor& sensor, double* baud, const CommandWords& words, size_t first,
                      int64_t now_ns) {
    std::string error;
    for (size_t at = first; at < words.size() && error.empty(); ++at) {
        const size_t equals = words[at].find('=');
        if (equals == std::string_view::npos) {
            return CommandOutcome_quoted(words[at]) + " is not KEY=VALUE";
        }
        const auto key = words[at].substr(0, equals);
        const auto value = words[at].substr(equals + 1);
        if (baud != nullptr && key == "baud") {
            setBaud(*baud, value, error);
        } else {
            setKey(sensor, key, value, now_ns, error);
        }
    }
    return error;
}

CommandOutcome plugSerial(SerialPortPlayer& player, const CommandWords& words, int64_t now_ns) {
    auto sensor = Sensor513x_create(words[2]);
    if (!sensor) {
        return unknownModel(words[2], Sensor513x_models());
    }
    double baud = player.baud;
    const std::string error = applyKeys(*sensor, &baud, words, 3, now_ns);
    if (!error.empty()) {
        return CommandOutcome_refuse(error);
    }
    player.baud = baud;
    SerialPortPlayer_plug(player, std::move(*sensor), now_ns);
    return CommandOutcome_accept();
}

CommandOutcome plugUsb(UsbPortPlayer& player, const CommandWords& words, int64_t now_ns) {
    auto sensor = Sensor316x_create(words[2]);
    if (!sensor) {
        return unknownModel(words[2], Sensor316x_models());
    }
    const std::string error = applyKeys(*sensor, nullptr, words, 3, now_ns);
    if (!error.empty()) {
        return CommandOutcome_refuse(error);
    }
    return UsbPortPlayer_plug(player, std::move(*sensor), now_ns)
               ? CommandOutcome_accept()
               : CommandOutcome_refuse("the channel of this port cannot be made");
}

CommandOutcome faultSerial(SerialPortPlayer& player, std::string_view name, int64_t now_ns) {
    const auto* found = std::ranges::find(serialFaultNames, name);
    if (found == serialFaultNames.end()) {
        return CommandOutcome_refuse(
            "unknown fault " + CommandOutcome_quoted(name) + ": a serial sensor has " +
            BenchText_list({serialFaultNames.begin(), serialFaultNames.end()}));
    }
    SerialPortPlayer_setFault(player, static_cast<SerialFault>(found - serialFaultNames.begin()),
                              now_ns);
    return CommandOutcome_accept();
}

CommandOutcome faultUsb(UsbPortPlayer& player, std::string_view name, int64_t now_ns) {
    if (UsbPortPlayer_setFault(player, name, now_ns)) {
        return CommandOutcome_accept();
    }
    return CommandOutcome_refuse(
        "unknown fault " + CommandOutcome_quoted(name) + ": a USB sensor has " +
        BenchText_list({usbFaultNames.begin(), usbFaultNames.end()}) + ":CODE:HEADER");
}

std::string serialStatus(SerialPortPlayer& player, int64_t now_ns) {
    const std::string settings =
        WorldFolder_readFile(player.world + "/tty/ttyS" + std::to_string(player.port + 1));
    std::string text = player.sensor ? Sensor513x_describe(*player.sensor, now_ns) : "no sensor";
    text += BenchText_format(" fault=%s line=\"%s\" baud=%g", serialFaultNames.at(player.fault),
                             settings.substr(0, settings.find('\n')).c_str(), player.baud);
    return text;
}

std::string usbStatus(UsbPortPlayer& player, int64_t now_ns) {
    const std::string text =
        player.sensor ? Sensor316x_describe(*player.sensor, now_ns) : "no sensor";
    return text + BenchText_format(" fault=%s open=%zu", usbFaultNames.at(player.fault),
                                   player.channels.size());
}

} // namespace

CommandOutcome CommandOutcome_accept(std::string text) {
    return {false, std::move(text)};
}

CommandOutcome CommandOutcome_refuse(std::string text) {
    return {true, std::move(text)};
}

std::string CommandOutcome_quoted(std::string_view word) {
    return "'" + std::string(word) + "'";
}

CommandOutcome PortCommands_plug(BenchHardware& hardware, const CommandWords& words) {
    const auto port = findPort(hardware, words[1]);
    if (!port) {
        return unknownPort(words[1]);
    }
    const int64_t now = BenchHardware_now_ns(hardware);
    return port->serial != nullptr ? plugSerial(*port->serial, words, now)
                                   : plugUsb(*port->usb, words, now);
}

CommandOutcome PortCommands_unplug(BenchHardware& hardware, const CommandWords& words) {
    CommandOutcome refusal;
    const auto port = occupiedPort(hardware, words[1], refusal);
    if (!port) {
        return refusal;
    }
    if (port->serial != nullptr) {
        SerialPortPlayer_unplug(*port->serial, BenchHardware_now_ns(hardware));
    } else {
        UsbPortPlayer_unplug(*port->usb, BenchHardware_now_ns(hardware));
    }
    return CommandOutcome_accept();
}

CommandOutcome PortCommands_replug(BenchHardware& hardware, const CommandWords& words) {
    CommandOutcome refusal;
    const auto port = occupiedPort(hardware, words[1], refusal);
    if (!port) {
        return refusal;
    }
    const auto after_s = BenchText_duration_s(words.size() > 2 ? words[2] : "0");
    if (!after_s || *after_s < 0) {
        return CommandOutcome_refuse(CommandOutcome_quoted(words[2]) +
                                     " is not a time such as 200ms");
    }
    if (port->serial != nullptr) {
        SerialPortPlayer_replug(*port->serial, *after_s, BenchHardware_now_ns(hardware));
    } else {
        UsbPortPlayer_replug(*port->usb, *after_s, BenchHardware_now_ns(hardware));
    }
    return CommandOutcome_accept();
}

CommandOutcome PortCommands_set(BenchHardware& hardware, const CommandWords& words) {
    CommandOutcome refusal;
    const auto port = occupiedPort(hardware, words[1], refusal);
    if (!port) {
        return refusal;
    }
    // Values are set on a copy, so that a refused command changes nothing.
    const int64_t now = BenchHardware_now_ns(hardware);
    if (port->usb != nullptr) {
        Sensor316x changed = *port->usb->sensor;
        const std::string error = applyKeys(changed, nullptr, words, 2, now);
        if (error.empty()) {
            port->usb->sensor = std::move(changed);
        }
        return error.empty() ? CommandOutcome_accept() : CommandOutcome_refuse(error);
    }
    Sensor513x changed = *port->serial->sensor;
    double baud = port->serial->baud;
    const std::string error = applyKeys(changed, &baud, words, 2, now);
    if (!error.empty()) {
        return CommandOutcome_refuse(error);
    }
    port->serial->sensor = std::move(changed);
    port->serial->baud = baud;
    SerialPortPlayer_refreshCurrent(*port->serial, now);
    return CommandOutcome_accept();
}

CommandOutcome PortCommands_fault(BenchHardware& hardware, const CommandWords& words) {
    CommandOutcome refusal;
    const auto port = occupiedPort(hardware, words[1], refusal);
    if (!port) {
        return refusal;
    }
    const int64_t now = BenchHardware_now_ns(hardware);
    return port->serial != nullptr ? faultSerial(*port->serial, words[2], now)
                                   : faultUsb(*port->usb, words[2], now);
}

CommandOutcome PortCommands_log(BenchHardware& hardware, const CommandWords& words) {
    const auto port = findPort(hardware, words[1]);
    if (!port) {
        return unknownPort(words[1]);
    }
    const WireLog& log = port->serial != nullptr ? port->serial->log : port->usb->log;
    const bool isLast = words.size() > 2 && words[2] == "--last";
    if (words.size() > 3 && !isLast) {
        return CommandOutcome_refuse("usage: log PORT [--last N | --follow]");
    }
    const auto given = BenchText_number(words.size() > 2 ? words.back() : "0");
    if (!given || *given < 0) {
        return CommandOutcome_refuse(CommandOutcome_quoted(words.back()) +
                                     " is not the number of " +
                                     (isLast ? "the last entries" : "an entry"));
    }
    const auto number = static_cast<uint64_t>(std::min(*given, mostEntries));
    const uint64_t after = isLast ? log.lastNumber - std::min(log.lastNumber, number) : number;
    return CommandOutcome_accept(WireLog_text(log, after, port->usb != nullptr));
}

std::string PortCommands_status(BenchHardware& hardware) {
    const int64_t now = BenchHardware_now_ns(hardware);
    std::string text;
    for (size_t index = 0; index < portNames.size(); ++index) {
        const bool isSerial = index < firstUsb;
        const WireLog& log =
            isSerial ? hardware.serial.at(index).log : hardware.usb.at(index - firstUsb).log;
        text += std::string(portNames.at(index)) + ": ";
        text += isSerial ? serialStatus(hardware.serial.at(index), now)
                         : usbStatus(hardware.usb.at(index - firstUsb), now);
        text += BenchText_format(" sent=%llu received=%llu\n",
                                 static_cast<unsigned long long>(log.bytesFromSensor),
                                 static_cast<unsigned long long>(log.bytesToSensor));
    }
    return text;
}
