#include "ScreenCheck.h"

#include "BenchText.h"
#include "ExpectedTexts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

using Widgets = std::vector<ScreenWidget>;

constexpr std::array<const char*, soakPortCount> dialogTitles = {
    "Tessel CW Sensor on Serial1", "Tessel CW Sensor on Serial2",
    "Tessel CW & Pulse Sensor on USB1", "Tessel CW & Pulse Sensor on USB2"};
constexpr double dialogDue = 3; ///< after the plug
constexpr int middle_px = 424;  ///< between the halves of the screen
constexpr const char* red = "#ff0000";
constexpr const char* white = "#ffffff";

/// A part of the screen: everything, or one of its halves.
struct Region {
    int from_px = 0;
    int to_px = 100000;
};

const ScreenWidget* find(const Widgets& widgets, std::string_view name, const Region& region = {}) {
    const auto found = std::ranges::find_if(widgets, [&](const ScreenWidget& widget) {
        return widget.isVisible && (widget.name == name || widget.id == name) &&
               widget.y >= region.from_px && widget.y < region.to_px;
    });
    return found == widgets.end() ? nullptr : &*found;
}

std::string listed(const ShownValues& values) {
    std::string text;
    for (const ShownValue& value : values) {
        text += " \"" + value.value + " " + value.units + "\"";
    }
    return text;
}

/// A snapshot: what was seen, and what the file said before and after.
struct Snapshot {
    Soak& soak;
    Widgets widgets;
    std::map<std::string, std::string> fileBefore;
    std::map<std::string, std::string> fileAfter;
    std::vector<SoakSettings> settings; ///< any of these may be shown
};

/// Where a channel's values are, and what they must be.
struct ShownPort {
    size_t port;
    int channel;
    Region region;
    bool isPulse;
    std::string prefix;
};

void compare(Snapshot& snapshot, const std::string& kind, const ScreenWidget* value,
             const ScreenWidget* units, const ShownValues& expected) {
    if (value == nullptr) {
        Report_finding(snapshot.soak.report, "text " + kind, "is not on the screen");
        return;
    }
    const ShownValue shown{value->text, units == nullptr ? std::string() : units->text};
    if (std::ranges::find(expected, shown) == expected.end()) {
        Report_finding(snapshot.soak.report, "text " + kind,
                       "\"" + shown.value + " " + shown.units + "\", not any of" +
                           listed(expected));
    }
    Report_checked(snapshot.soak.report, "text " + kind);
}

ShownScale scaleFrom(const std::map<std::string, std::string>& file, int channel,
                     const char* line) {
    const std::string stem = BenchText_format("scale_ch%d_%s_", channel + 1, line);
    ShownScale scale;
    if (const auto found = file.find(stem + "autoScale"); found != file.end()) {
        scale.isAutomatic = found->second != "0";
    }
    if (const auto found = file.find(stem + "scaleIndex"); found != file.end()) {
        scale.index = std::clamp(atoi(found->second.c_str()), 0, 10);
    }
    return scale;
}

void append(ShownValues& values, const ShownValues& more) {
    values.insert(values.end(), more.begin(), more.end());
}

ShownValues expectedPowers(Snapshot& snapshot, const ShownPort& shown, bool isForward) {
    const PortTruth& sensor = snapshot.soak.truth.ports.at(shown.port);
    const char* line = isForward ? "fwd" : "rfl";
    ShownValues expected;
    for (const TruthValue& value : Truth_shownValues(snapshot.soak.truth, shown.port)) {
        const double power_W = isForward ? value.forward_W : value.reflected_W;
        for (const SoakSettings& settings : snapshot.settings) {
            for (const auto* file : {&snapshot.fileBefore, &snapshot.fileAfter}) {
                append(expected, ExpectedTexts_power(power_W, sensor.max_W, settings.isdBm,
                                                     scaleFrom(*file, shown.channel, line)));
            }
        }
    }
    return expected;
}

ShownValues expectedMatches(Snapshot& snapshot, const ShownPort& shown) {
    const auto values = Truth_shownValues(snapshot.soak.truth, shown.port);
    ShownValues expected;
    for (const TruthValue& forward : values) {
        for (const TruthValue& reflected : values) {
            for (const SoakSettings& settings : snapshot.settings) {
                append(expected, ExpectedTexts_match(forward.forward_W, reflected.reflected_W,
                                                     settings.matchType));
            }
        }
    }
    return expected;
}

void checkColour(Snapshot& snapshot, const ScreenWidget& value) {
    const char* expected = value.text == "  Range" ? red : white;
    if (value.foreground != expected) {
        Report_finding(snapshot.soak.report, "colour of a value",
                       value.name + " \"" + value.text + "\" is " + value.foreground);
    }
}

void checkPower(Snapshot& snapshot, const ShownPort& shown, bool isForward) {
    const std::string line = isForward ? "fwd" : "rfl";
    const std::string pulseLine = isForward ? "Fwd" : "Rfl";
    const ScreenWidget* value =
        find(snapshot.widgets,
             shown.isPulse ? "pulse.value" + pulseLine : shown.prefix + "." + line + ".value",
             shown.region);
    const ScreenWidget* units = find(snapshot.widgets,
                                     shown.isPulse ? "pulse.btnUnits" + pulseLine + ".text"
                                                   : shown.prefix + "." + line + ".units",
                                     shown.region);
    compare(snapshot, isForward ? "forward power" : "reflected power", value, units,
            expectedPowers(snapshot, shown, isForward));
    if (value != nullptr) {
        checkColour(snapshot, *value);
    }
}

/// The page of the gate or of the states is looked at, and the powers are behind it.
bool isGroupPage(const Snapshot& snapshot, const ShownPort& shown) {
    return shown.isPulse && (find(snapshot.widgets, "pulse.gridGate", shown.region) != nullptr ||
                             find(snapshot.widgets, "pulse.gridState", shown.region) != nullptr);
}

/// The gate is open as long as the bench's pulse is on.
void checkGatedMean(Snapshot& snapshot, const ShownPort& shown) {
    const ScreenWidget* mean = find(snapshot.widgets, "pulse.valueGatedMean", shown.region);
    const PortTruth& sensor = snapshot.soak.truth.ports.at(shown.port);
    if (mean == nullptr) {
        return;
    }
    ShownValues expected;
    for (const TruthValue& value : Truth_shownValues(snapshot.soak.truth, shown.port)) {
        append(expected,
               ExpectedTexts_gatedPower(value.forward_W * sensor.period_s / sensor.width_s,
                                        sensor.max_W, snapshot.soak.settings.isdBm));
    }
    compare(snapshot, "gated mean", mean,
            find(snapshot.widgets, "pulse.btnGatedUnits.text", shown.region), expected);
    checkColour(snapshot, *mean);
}

void checkMatch(Snapshot& snapshot, const ShownPort& shown) {
    constexpr std::array<const char*, 3> captions = {"VSWR:", "RL:", "RHO:"};
    compare(snapshot, "match", find(snapshot.widgets, shown.prefix + ".match.value"),
            find(snapshot.widgets, shown.prefix + ".match.units"),
            expectedMatches(snapshot, shown));
    const ScreenWidget* caption = find(snapshot.widgets, shown.prefix + ".match.caption");
    if (caption != nullptr && std::ranges::none_of(snapshot.settings, [&](const SoakSettings& s) {
            return caption->text == captions.at(static_cast<size_t>(s.matchType));
        })) {
        Report_finding(snapshot.soak.report, "text match caption", caption->text);
    }
}

void checkPulseValues(Snapshot& snapshot, const ShownPort& shown) {
    const PortTruth& sensor = snapshot.soak.truth.ports.at(shown.port);
    if (!Truth_isFollowed(snapshot.soak.truth, shown.port) ||
        find(snapshot.widgets, "pulse.valuePeriod", shown.region) == nullptr) {
        return;
    }
    const struct {
        const char* kind;
        const char* value;
        const char* units;
        ShownValues expected;
    } rows[] = {
        {"pulse frequency", "pulse.valueFreq", "pulse.unitsFreq",
         ExpectedTexts_frequency(sensor.frequency_Hz)},
        {"pulse period", "pulse.valuePeriod", "pulse.unitsPeriod",
         ExpectedTexts_time(sensor.period_s)},
        {"pulse width", "pulse.valueWidth", "pulse.unitsWidth", ExpectedTexts_time(sensor.width_s)},
        {"pulse repetition", "pulse.valueRepeat", "pulse.unitsRepeat",
         ExpectedTexts_frequency(sensor.period_s > 0 ? 1 / sensor.period_s : 0)},
    };
    for (const auto& row : rows) {
        compare(snapshot, row.kind, find(snapshot.widgets, row.value, shown.region),
                find(snapshot.widgets, row.units, shown.region), row.expected);
    }
}

void checkTitle(Snapshot& snapshot, const ShownPort& shown) {
    const PortTruth& sensor = snapshot.soak.truth.ports.at(shown.port);
    const ScreenWidget* title =
        find(snapshot.widgets, shown.isPulse ? "pulse.btnTitle.text" : shown.prefix + ".title",
             shown.region);
    if (!sensor.isTitleKnown || title == nullptr) {
        return;
    }
    if (title->text != sensor.title) {
        Report_finding(snapshot.soak.report, "text title",
                       "\"" + title->text + "\", not \"" + sensor.title + "\"");
    }
    Report_checked(snapshot.soak.report, "text title");
}

void checkMeasuringPort(Snapshot& snapshot, const ShownPort& shown) {
    const bool isSettled = snapshot.settings.size() == 1;
    const SoakSettings& settings = snapshot.soak.settings;
    checkTitle(snapshot, shown);
    if (!Truth_isHonest(snapshot.soak.truth, shown.port) ||
        snapshot.soak.truth.ports.at(shown.port).values.empty()) {
        return;
    }
    if (isGroupPage(snapshot, shown)) {
        if (isSettled) {
            checkGatedMean(snapshot, shown);
        }
        return;
    }
    if (isSettled && settings.showsForward) {
        checkPower(snapshot, shown, true);
    }
    if (isSettled && settings.showsReflected) {
        checkPower(snapshot, shown, false);
    }
    if (isSettled && settings.showsMatch && !shown.isPulse) {
        checkMatch(snapshot, shown);
    }
    if (shown.isPulse) {
        checkPulseValues(snapshot, shown);
    }
}

/// "no reading for 12 s" in seconds, as old as that text can be, and nothing for another text.
std::optional<double> ageOf(const std::string& text) {
    unsigned age = 0;
    char unit[4] = "";
    if (sscanf(text.c_str(), "no reading for %u %3s", &age, unit) != 2) {
        return std::nullopt;
    }
    return std::string_view(unit) == "min" ? age * 60.0 : age;
}

/// Old values are called old, with an age that they can have; those of a sensor that measures are
/// not for longer than a busy machine keeps its values back.
void checkSilence(Snapshot& snapshot, const ShownPort& shown) {
    Soak& soak = snapshot.soak;
    const std::string name = (shown.isPulse ? "pulse" : shown.prefix) + ".silence";
    const ScreenWidget* sign = find(snapshot.widgets, name, shown.region);
    if (Truth_isSilent(soak.truth, shown.port)) {
        const std::optional<double> age_s = sign == nullptr ? std::nullopt : ageOf(sign->text);
        const double greatest_s = Truth_greatestAge_s(soak.truth, shown.port);
        if (!age_s || *age_s < soakTimes::isNotOld || *age_s > greatest_s) {
            Report_finding(soak.report, "sign of a silent sensor",
                           BenchText_format("\"%s\", at most %.0f s",
                                            sign == nullptr ? "" : sign->text.c_str(), greatest_s));
        }
        Report_checked(soak.report, "sign of a silent sensor");
    } else if (sign != nullptr && Truth_mustMeasure(soak.truth, shown.port)) {
        const auto isGone = [&] {
            const auto widgets = Bench_screen(soak.bench);
            return find(widgets, name, shown.region) == nullptr;
        };
        if (!Bench_waitUntil(isGone, Soak_limit_ms(soak, soakTimes::isNotOld))) {
            Report_finding(soak.report, "sign of a silent sensor",
                           "\"" + sign->text + "\" while values come");
        }
    }
}

void checkConnecting(Snapshot& snapshot, const ShownPort& shown, const std::string& noConnection) {
    const ScreenWidget* title = find(snapshot.widgets, noConnection);
    if (title == nullptr) {
        return; // it measures already
    }
    if (title->text != "Connecting...") {
        Report_finding(snapshot.soak.report, "text connecting",
                       "\"" + title->text + "\" for " + Truth_portName(shown.port));
    }
    Report_checked(snapshot.soak.report, "text connecting");
}

void checkChannel(Snapshot& snapshot, int channel) {
    const int port = Truth_portOfChannel(snapshot.soak.truth, channel);
    if (port < 0) {
        return;
    }
    const bool isAlone = Truth_shownCount(snapshot.soak.truth) == 1;
    const std::string side = isAlone ? "single" : channel == 0 ? "upper" : "lower";
    ShownPort shown{static_cast<size_t>(port), channel, {}, false, {}};
    shown.isPulse = snapshot.soak.settings.isPulse && Truth_isUsb(shown.port);
    if (!isAlone) {
        shown.region = channel == 0 ? Region{0, middle_px} : Region{middle_px, 100000};
    }
    shown.prefix = side + (snapshot.soak.settings.showsGraph && !shown.isPulse ? "Graph" : "");
    checkSilence(snapshot, shown);
    if (!Truth_mustMeasure(snapshot.soak.truth, shown.port)) {
        checkConnecting(snapshot, shown, (isAlone ? "" : side + ".") + "noConnection.title");
        return;
    }
    const std::string title = shown.isPulse ? "pulse.btnTitle.text" : shown.prefix + ".title";
    if (find(snapshot.widgets, title, shown.region) == nullptr) {
        Report_finding(snapshot.soak.report, "screen of a sensor",
                       std::string(Truth_portName(shown.port)) + " is not shown as " + title);
        return;
    }
    checkMeasuringPort(snapshot, shown);
}

void checkNobody(Snapshot& snapshot) {
    const ScreenWidget* title = find(snapshot.widgets, "noConnection.title");
    if (title == nullptr || title->text != "No Sensor Detected") {
        Report_finding(snapshot.soak.report, "text without a sensor",
                       title == nullptr ? "is not on the screen" : title->text);
    }
    Report_checked(snapshot.soak.report, "text without a sensor");
}

// The channel dialog.

bool isDialogThere(const Snapshot& snapshot) {
    return find(snapshot.widgets, "sensorSettingsDialog_ok") != nullptr;
}

void answerDialog(Snapshot& snapshot, size_t port) {
    Soak& soak = snapshot.soak;
    const int channel = Soak_pick(soak, 0, 1);
    const char* radio =
        channel == 0 ? "sensorSettingsDialogRadioChan1" : "sensorSettingsDialogRadioChan2";
    const auto isChosen = [&] {
        const auto button = Bench_widget(soak.bench, radio);
        return button && button->isActive;
    };
    const auto isGone = [&] { return !Bench_isVisible(soak.bench, "sensorSettingsDialog_ok"); };
    Report_action(soak.report, "touch: channel dialog",
                  BenchText_format("channel %d for %s", channel + 1, Truth_portName(port)));
    const bool isAnswered = (isChosen() || (Bench_tap(soak.bench, radio) &&
                                            Bench_waitUntil(isChosen, Soak_limit_ms(soak, 2)))) &&
                            Bench_tap(soak.bench, "sensorSettingsDialog_ok") &&
                            Bench_waitUntil(isGone, Soak_limit_ms(soak, 2));
    if (isAnswered) {
        Truth_choose(soak.truth, port, channel);
    } else {
        Report_finding(soak.report, "channel dialog", "cannot be answered");
    }
}

void checkDialog(Snapshot& snapshot) {
    Soak& soak = snapshot.soak;
    const int port = Truth_waitsForChannel(soak.truth);
    const ScreenWidget* title = find(snapshot.widgets, "sensorSettingsDialogTitleStr");
    if (port < 0 || title == nullptr) {
        if (Truth_isPast(soak.truth, soak.truth.presenceChanged, dialogDue)) {
            Report_finding(soak.report, "channel dialog", "is there and need not be");
        }
        return;
    }
    if (title->text != dialogTitles.at(static_cast<size_t>(port))) {
        if (Truth_isPast(soak.truth, soak.truth.presenceChanged, dialogDue)) {
            Report_finding(soak.report, "text channel dialog",
                           "\"" + title->text + "\" while " +
                               Truth_portName(static_cast<size_t>(port)) + " waits");
        }
        return;
    }
    Report_checked(soak.report, "text channel dialog");
    if (Soak_pick(soak, 0, 1) == 0) {
        answerDialog(snapshot, static_cast<size_t>(port));
    }
}

// The battery.

int percentByVoltage(double voltage_V) {
    const double cell_V = voltage_V / 3;
    double percent = 0;
    if (cell_V > 3.94) {
        percent = cell_V < 4.13 ? (cell_V - 3.94) / 0.19 * 25 + 75 : 100;
    } else if (cell_V > 3.77) {
        percent = (cell_V - 3.77) / 0.17 * 25 + 50;
    } else if (cell_V > 3.58) {
        percent = (cell_V - 3.58) / 0.19 * 25 + 25;
    } else if (cell_V > 3.49) {
        percent = (cell_V - 3.49) / 0.28 * 25 + 5;
    } else {
        percent = cell_V > 3.44 ? (cell_V - 3.44) / 0.05 * 25 : 0;
    }
    return static_cast<int>(percent);
}

/// The battery is never full here, so that its percentage stays that of its voltage.
void checkBattery(Snapshot& snapshot) {
    constexpr double batteryFollow = 12;
    constexpr int charging = 0x40;
    if (!Truth_isPast(snapshot.soak.truth, snapshot.soak.supplyChanged, batteryFollow)) {
        return;
    }
    const ScreenWidget* label = find(snapshot.widgets, "batteryPercent");
    const int state =
        atoi(Bench_readFile(snapshot.soak.bench, "/sys/devices/virtual/battery_charger/"
                                                 "ltc4162/chargerState_raw")
                 .c_str());
    const double voltage_V =
        atof(Bench_readFile(snapshot.soak.bench, "/sys/class/power_supply/fuel_gauge/voltage_now")
                 .c_str()) /
        1e6;
    const int percent = percentByVoltage(voltage_V);
    const std::string shown = label == nullptr ? "nothing" : label->text;
    const bool isRight =
        state == charging ? shown == "---%"
                          : shown == std::to_string(percent) + "%" ||
                                shown == std::to_string(percentByVoltage(voltage_V - 1e-5)) + "%" ||
                                shown == std::to_string(percentByVoltage(voltage_V + 1e-5)) + "%";
    if (!isRight) {
        Report_finding(snapshot.soak.report, "text battery",
                       BenchText_format("\"%s\" at %.3f V in state 0x%x", shown.c_str(), voltage_V,
                                        static_cast<unsigned>(state)));
    }
    Report_checked(snapshot.soak.report, "text battery");
}

Snapshot takeSnapshot(Soak& soak) {
    Snapshot snapshot{soak, {}, Soak_settingsFile(soak), {}, {soak.settings}};
    snapshot.widgets = Bench_screen(soak.bench);
    snapshot.fileAfter = Soak_settingsFile(soak);
    if (!Truth_isPast(soak.truth, soak.settingsChanged, 1)) {
        snapshot.settings.push_back(soak.settingsBefore);
    }
    return snapshot;
}

} // namespace

void ScreenCheck_look(Soak& soak) {
    Snapshot snapshot = takeSnapshot(soak);
    if (snapshot.widgets.empty()) {
        Report_finding(soak.report, "screen", "the meter does not answer");
        return;
    }
    checkBattery(snapshot);
    if (isDialogThere(snapshot)) {
        checkDialog(snapshot);
        return;
    }
    if (Truth_waitsForChannel(soak.truth) >= 0 &&
        Truth_isPast(soak.truth, soak.truth.presenceChanged, dialogDue)) {
        Report_finding(soak.report, "channel dialog", "does not come");
    }
    if (!Truth_isLayoutSettled(soak.truth) || !Truth_isPast(soak.truth, soak.settingsChanged, 1)) {
        Report_checked(soak.report, "snapshot while the layout changes");
        return;
    }
    if (Truth_shownCount(soak.truth) == 0) {
        checkNobody(snapshot);
    }
    for (int channel = 0; channel < static_cast<int>(soakChannelCount); ++channel) {
        checkChannel(snapshot, channel);
    }
}

std::string ScreenCheck_prefix(const Soak& soak, int channel) {
    const int port = Truth_portOfChannel(soak.truth, channel);
    if (port < 0 || !Truth_isLayoutSettled(soak.truth) ||
        !Truth_mustMeasure(soak.truth, static_cast<size_t>(port))) {
        return {};
    }
    if (soak.settings.isPulse && Truth_isUsb(static_cast<size_t>(port))) {
        return "pulse";
    }
    const std::string side = Truth_shownCount(soak.truth) == 1 ? "single"
                             : channel == 0                    ? "upper"
                                                               : "lower";
    return side + (soak.settings.showsGraph ? "Graph" : "");
}
