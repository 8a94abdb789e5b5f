#include "TouchActions.h"

#include "BenchText.h"
#include "ScreenCheck.h"

#include <algorithm>
#include <array>

namespace {

constexpr double effectLimit = 3;

bool isFree(const Soak& soak) {
    return Truth_waitsForChannel(soak.truth) < 0 && Truth_isLayoutSettled(soak.truth) &&
           Truth_isPast(soak.truth, soak.settingsChanged, 2);
}

/// The screen of a channel that measures undisturbed, picked at random.
std::string pickScreen(Soak& soak, int& channel) {
    channel = Soak_pick(soak, 0, 1);
    std::string prefix = isFree(soak) ? ScreenCheck_prefix(soak, channel) : "";
    if (prefix.empty() && isFree(soak)) {
        channel = 1 - channel;
        prefix = ScreenCheck_prefix(soak, channel);
    }
    return prefix;
}

bool tap(Soak& soak, const std::string& kind, const std::string& name) {
    Report_action(soak.report, "touch: " + kind, "tap " + name);
    const bool isDone = Bench_tap(soak.bench, name);
    if (!isDone) {
        Report_finding(soak.report, "touch", name + " cannot be touched");
    }
    return isDone;
}

bool waitForVisible(Soak& soak, const std::string& name, bool isVisible) {
    const bool isRight =
        Bench_waitForVisible(soak.bench, name, isVisible, Soak_limit_ms(soak, effectLimit));
    if (!isRight) {
        Report_finding(soak.report, "touch", name + (isVisible ? " does not appear" : " stays"));
    }
    return isRight;
}

void waitForSetting(Soak& soak, const std::string& touched, const std::string& key,
                    const std::string& value) {
    const auto isThere = [&] { return Soak_settingsFile(soak)[key] == value; };
    if (!Bench_waitUntil(isThere, Soak_limit_ms(soak, effectLimit))) {
        Report_finding(soak.report, "setting after a touch",
                       BenchText_format("%s: %s is %s, not %s", touched.c_str(), key.c_str(),
                                        Soak_settingsFile(soak)[key].c_str(), value.c_str()));
        Soak_believeSettingsFile(soak);
    }
    Report_checked(soak.report, "setting after a touch");
}

/// Opens something, waits for it, and closes it.
bool openAndClose(Soak& soak, const std::string& kind, const std::string& opener,
                  const std::string& closer) {
    if (!tap(soak, kind, opener) || !waitForVisible(soak, closer, true)) {
        return true;
    }
    ScreenCheck_look(soak); // readings go on behind it
    if (Bench_isVisible(soak.bench, closer)) {
        tap(soak, kind, closer);
        waitForVisible(soak, closer, false);
    }
    return true;
}

/// One control of the settings window and what it sets.
struct Control {
    const char* name;
    const char* key;
    bool SoakSettings::*flag; ///< null: a radio button of the match types
    int matchType;
};
constexpr std::array<Control, 8> controls{{
    {"checkBoxForward", "displayForwardPower", &SoakSettings::showsForward, 0},
    {"checkBoxReflected", "displayReflectedPower", &SoakSettings::showsReflected, 0},
    {"checkBoxMatch", "displayVSWR_ReturnLoss_or_ReflCoeff_Value", &SoakSettings::showsMatch, 0},
    {"checkBoxGraph", "displayGraph", &SoakSettings::showsGraph, 0},
    {"checkBoxPulseMode", "sensorPulseMode", &SoakSettings::isPulse, 0},
    {"vswrRadioButton", "matchMeasurementType", nullptr, 0},
    {"returnLossRadioButton", "matchMeasurementType", nullptr, 1},
    {"reflCoeffRadioButton", "matchMeasurementType", nullptr, 2},
}};

void touchControl(Soak& soak, const Control& control) {
    SoakSettings changed = soak.settings;
    std::string value;
    if (control.flag != nullptr) {
        changed.*control.flag = !(changed.*control.flag);
        value = std::to_string(static_cast<int>(changed.*control.flag));
    } else if (!changed.showsMatch) {
        return; // the radio buttons cannot be touched
    } else {
        changed.matchType = control.matchType;
        value = std::to_string(control.matchType);
    }
    if (tap(soak, "settings window", control.name)) {
        Soak_changeSettings(soak, changed);
        waitForSetting(soak, control.name, control.key, value);
    }
}

} // namespace

bool TouchActions_scale(Soak& soak) {
    int channel = 0;
    const std::string prefix = pickScreen(soak, channel);
    const int port = Truth_portOfChannel(soak.truth, channel);
    if (prefix.empty() || prefix == "pulse" || soak.settings.isdBm ||
        Truth_shownValues(soak.truth, static_cast<size_t>(port)).size() != 1) {
        return false;
    }
    const bool isForward = Soak_pick(soak, 0, 1) == 0;
    if (isForward ? !soak.settings.showsForward : !soak.settings.showsReflected) {
        return false;
    }
    constexpr std::array keys = {"scaleUp", "scaleDown", "scaleAuto"};
    const auto key = static_cast<size_t>(Soak_pick(soak, 0, 2));
    const char* line = isForward ? "fwd" : "rfl";
    const std::string stem = BenchText_format("scale_ch%d_%s_", channel + 1, line);
    auto file = Soak_settingsFile(soak);
    const bool wasAutomatic = file[stem + "autoScale"] == "1";
    const int index = atoi(file[stem + "scaleIndex"].c_str());
    if (!tap(soak, "scale", prefix + "." + line + "." + keys.at(key))) {
        return true;
    }
    const std::string& name = keys.at(key);
    if (key == 2) {
        waitForSetting(soak, name, stem + "autoScale", wasAutomatic ? "0" : "1");
    } else {
        waitForSetting(soak, name, stem + "autoScale", "0");
        waitForSetting(soak, name, stem + "scaleIndex",
                       std::to_string(std::clamp(key == 0 ? index + 1 : index - 1, 0, 10)));
    }
    Soak_changeSettings(soak, soak.settings); // the file is ahead of the screen's next pass
    return true;
}

bool TouchActions_units(Soak& soak) {
    int channel = 0;
    const std::string prefix = pickScreen(soak, channel);
    if (prefix.empty() || prefix == "pulse" || !soak.settings.showsForward) {
        return false;
    }
    SoakSettings changed = soak.settings;
    changed.isdBm = !changed.isdBm;
    if (tap(soak, "units", prefix + ".fwd.unitsButton")) {
        Soak_changeSettings(soak, changed);
        waitForSetting(soak, "units", "powerUnitsIsdBm", changed.isdBm ? "1" : "0");
    }
    return true;
}

bool TouchActions_match(Soak& soak) {
    int channel = 0;
    const std::string prefix = pickScreen(soak, channel);
    if (prefix.empty() || prefix == "pulse" || !soak.settings.showsMatch) {
        return false;
    }
    SoakSettings changed = soak.settings;
    changed.matchType = (changed.matchType + 1) % 3;
    if (tap(soak, "match", prefix + ".match.captionButton")) {
        Soak_changeSettings(soak, changed);
        waitForSetting(soak, "match", "matchMeasurementType", std::to_string(changed.matchType));
    }
    return true;
}

bool TouchActions_settingsWindow(Soak& soak) {
    if (!isFree(soak) || !tap(soak, "settings window", "settingsButton") ||
        !waitForVisible(soak, "appSettingsClose", true)) {
        return false;
    }
    const int touches = Soak_pick(soak, 1, 3);
    for (int touch = 0; touch < touches; ++touch) {
        touchControl(soak, controls.at(static_cast<size_t>(
                               Soak_pick(soak, 0, static_cast<int>(controls.size()) - 1))));
    }
    tap(soak, "settings window", "appSettingsClose");
    waitForVisible(soak, "appSettingsClose", false);
    return true;
}

bool TouchActions_dialogs(Soak& soak) {
    if (!isFree(soak)) {
        return false;
    }
    int channel = 0;
    const std::string prefix = pickScreen(soak, channel);
    const struct {
        const char* kind;
        std::string opener;
        const char* closer;
    } rows[] = {
        {"LAN dialog", "ethernetButton", "ethInfoDialog_ok"},
        {"serial dialog", "serialButton", "serSettingsDialog_cancel"},
        {"about dialog", "aboutButton", "aboutDialog_ok"},
        {"sensor dialog", prefix + ".sensorButton", "sensorInfoDialog_ok"},
    };
    const bool hasSensorButton = !prefix.empty() && prefix != "pulse";
    const auto& row = rows[Soak_pick(soak, 0, hasSensorButton ? 3 : 2)];
    return openAndClose(soak, row.kind, row.opener, row.closer);
}

bool TouchActions_graphDialog(Soak& soak) {
    int channel = 0;
    const std::string prefix = pickScreen(soak, channel);
    // The axis title and the mode open the same dialog.
    return prefix.ends_with("Graph") &&
           openAndClose(soak, "graph dialog",
                        prefix + (Soak_pick(soak, 0, 1) == 0 ? ".graph.title" : ".graph.mode"),
                        Soak_pick(soak, 0, 1) == 0 ? "graphSettingsButton_cancel"
                                                   : "graphSettingsButton_apply");
}

bool TouchActions_graphKeys(Soak& soak) {
    int channel = 0;
    const std::string prefix = pickScreen(soak, channel);
    if (!prefix.ends_with("Graph")) {
        return false;
    }
    tap(soak, "graph", prefix + (Soak_pick(soak, 0, 1) == 0 ? ".graph.auto" : ".graph.clear"));
    return true;
}

bool TouchActions_pulseDialog(Soak& soak) {
    int channel = 0;
    return pickScreen(soak, channel) == "pulse" &&
           openAndClose(soak, "pulse dialog", "pulse.btnConfig", "pulseConfigCancel");
}

bool TouchActions_pulseTabs(Soak& soak) {
    int channel = 0;
    if (pickScreen(soak, channel) != "pulse") {
        return false;
    }
    tap(soak, "pulse tabs", Soak_pick(soak, 0, 1) == 0 ? "pulse.tabGatedPower" : "pulse.tabValues");
    return true;
}
