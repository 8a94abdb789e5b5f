// Whatever dialog is open: a sensor may be pulled, the battery may warn, the window may be closed.

#include "Bench.h"
#include "CloseRequest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr uint32_t limit_ms = 60000;
const std::vector<std::string> oneShutdown = {"shutdown"};

/// A dialog, how a user opens it, what tells that it is open, and how it is left.
struct DialogCase {
    const char* name;
    std::vector<const char*> openers;
    const char* shown;
    std::vector<const char*> closers; ///< none: it goes when something comes above it
};

void PrintTo(const DialogCase& dialog, std::ostream* out) {
    *out << dialog.name;
}

const std::vector<DialogCase> dialogs = {
    {"SettingsWindow", {"settingsButton"}, "checkBoxForward", {"appSettingsClose"}},
    {"Menu", {"menuButton"}, "menuLan", {}},
    {"LanInformation", {"ethernetButton"}, "ethInfoDialog_ok", {"ethInfoDialog_ok"}},
    {"LanSettings",
     {"ethernetButton", "ethInfoDialog_configure"},
     "ethSettingsDialog_apply",
     {"ethSettingsDialog_cancel"}},
    {"Serial", {"serialButton"}, "serSettingsDialog_apply", {"serSettingsDialog_cancel"}},
    {"About", {"aboutButton"}, "aboutDialog_ok", {"aboutDialog_ok"}},
    {"Regulatory",
     {"aboutButton", "aboutDialog_regulatory"},
     "aboutDialogReg_ok",
     {"aboutDialogReg_ok", "aboutDialog_ok"}},
    {"Licence",
     {"aboutButton", "aboutDialog_license"},
     "aboutDialogLic_ok",
     {"aboutDialogLic_ok", "aboutDialog_ok"}},
    {"SensorInformation", {"single.sensorButton"}, "sensorInfoDialog_ok", {"sensorInfoDialog_ok"}},
};

class OpenDialog : public testing::TestWithParam<DialogCase> {
protected:
    void TearDown() override {
        if (HasFailure()) {
            Bench_savePicture(bench, std::string(GetParam().name) + ".png");
        }
        Bench_stop(bench);
    }
    /// A meter that measures, with the dialog open.
    void startAndOpen(const char* speed) {
        BenchOptions options;
        options.commands = {speed, "plug serial1 5132 fwd=25"};
        ASSERT_TRUE(Bench_start(bench, options));
        answerChannelDialog();
        ASSERT_TRUE(Bench_waitForText(bench, "single.fwd.value", "  25.00", limit_ms));
        for (const char* opener : GetParam().openers) {
            ASSERT_TRUE(Bench_waitForVisible(bench, opener, true, limit_ms)) << opener;
            ASSERT_TRUE(Bench_tap(bench, opener)) << opener;
        }
        ASSERT_TRUE(Bench_waitForVisible(bench, GetParam().shown, true, limit_ms));
    }
    void expectOpenAndClose() {
        if (!GetParam().closers.empty()) {
            EXPECT_TRUE(Bench_isVisible(bench, GetParam().shown));
        }
        for (const char* closer : GetParam().closers) {
            ASSERT_TRUE(Bench_waitForVisible(bench, closer, true, limit_ms)) << closer;
            ASSERT_TRUE(Bench_tap(bench, closer)) << closer;
        }
        EXPECT_TRUE(Bench_waitForVisible(bench, GetParam().shown, false, limit_ms));
    }
    void answerChannelDialog() {
        ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog_ok", true, limit_ms));
        ASSERT_TRUE(Bench_tap(bench, "sensorSettingsDialog_ok"));
        ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog_ok", false, limit_ms));
    }

    Bench bench;
};

TEST_P(OpenDialog, TheMainWindowIsClosedAndTheProgramEndsWithOneShutdown) {
    startAndOpen("clock speed 10");
    ASSERT_TRUE(CloseRequest_send(bench));
    EXPECT_EQ(Bench_waitForEnd(bench, limit_ms), 0);
    EXPECT_EQ(Bench_commands(bench), oneShutdown);
}

TEST_P(OpenDialog, TheSensorIsPulledAndTheBatteryWarnsOnTop) {
    startAndOpen("clock speed 4");
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    EXPECT_TRUE(Bench_waitForText(bench, "noConnection.title", "No Sensor Detected", limit_ms));
    EXPECT_TRUE(Bench_isVisible(bench, GetParam().shown));
    // 25 s after its warning the meter switches itself off.
    ASSERT_TRUE(Bench_do(bench, "clock speed 1"));
    ASSERT_TRUE(Bench_do(bench, "ac off"));
    ASSERT_TRUE(Bench_do(bench, "battery volts=10.0"));
    ASSERT_TRUE(Bench_waitForVisible(bench, "warningDialog", true, limit_ms));
    ASSERT_TRUE(Bench_do(bench, "clock speed 0.25")); // the 25 s are not over before "ac on"
    ASSERT_TRUE(Bench_tap(bench, "warningDialog.ok"));
    EXPECT_TRUE(Bench_waitForVisible(bench, "warningDialog", false, limit_ms));
    ASSERT_TRUE(Bench_do(bench, "ac on"));
    ASSERT_TRUE(Bench_do(bench, "clock speed 1"));
    expectOpenAndClose();
    ASSERT_TRUE(Bench_do(bench, "plug serial1 5132 fwd=40"));
    answerChannelDialog();
    EXPECT_TRUE(Bench_waitForText(bench, "single.fwd.value", "  40.00", limit_ms));
    EXPECT_TRUE(Bench_commands(bench).empty());
}

TEST_P(OpenDialog, AnotherSensorAsksForItsChannelOnTop) {
    startAndOpen("clock speed 4");
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    ASSERT_TRUE(Bench_waitForText(bench, "noConnection.title", "No Sensor Detected", limit_ms));
    ASSERT_TRUE(Bench_do(bench, "plug serial2 5132 fwd=40"));
    answerChannelDialog();
    EXPECT_TRUE(Bench_waitForText(bench, "single.fwd.value", "  40.00", limit_ms));
    expectOpenAndClose();
}

INSTANTIATE_TEST_SUITE_P(Every, OpenDialog, testing::ValuesIn(dialogs),
                         [](const auto& dialog) { return dialog.param.name; });

/// Dialogs that only come by themselves.
class DialogOfItsOwn : public testing::Test {
protected:
    void start(const std::vector<std::string>& commands, const char* shown) {
        BenchOptions options;
        options.commands = commands;
        ASSERT_TRUE(Bench_start(bench, options));
        ASSERT_TRUE(Bench_waitForVisible(bench, shown, true, limit_ms));
    }
    void expectClosing() {
        ASSERT_TRUE(CloseRequest_send(bench));
        EXPECT_EQ(Bench_waitForEnd(bench, limit_ms), 0);
        EXPECT_EQ(Bench_commands(bench), oneShutdown);
    }
    void TearDown() override {
        Bench_stop(bench);
    }

    Bench bench;
};

TEST_F(DialogOfItsOwn, TheMainWindowIsClosedBelowTheChannelDialog) {
    start({"clock speed 4", "plug serial1 5132 fwd=25"}, "sensorSettingsDialog_ok");
    expectClosing();
}

TEST_F(DialogOfItsOwn, TheMainWindowIsClosedBelowTheBatterysWarning) {
    start({"clock speed 4", "ac off", "battery volts=10.0"}, "warningDialog");
    expectClosing();
}

TEST_F(DialogOfItsOwn, TheMainWindowIsClosedWhileNetworkingIsRestarted) {
    start({}, "ethernetButton");
    ASSERT_TRUE(Bench_do(bench, "clock speed 0.25")); // networking is back within seconds
    for (const char* step : {"ethernetButton", "ethInfoDialog_configure", "ethSettingsRadioButton2",
                             "ethSettingsDialog_apply"}) {
        ASSERT_TRUE(Bench_waitForVisible(bench, step, true, limit_ms)) << step;
        ASSERT_TRUE(Bench_tap(bench, step)) << step;
    }
    ASSERT_TRUE(Bench_waitForVisible(bench, "ethProgress", true, limit_ms));
    ASSERT_TRUE(CloseRequest_send(bench));
    EXPECT_EQ(Bench_waitForEnd(bench, limit_ms), 0);
    const std::vector<std::string> commands = Bench_commands(bench);
    EXPECT_EQ(std::ranges::count(commands, oneShutdown.front()), 1);
}

} // namespace
