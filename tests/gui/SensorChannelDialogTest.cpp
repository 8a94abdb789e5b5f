#include "SensorChannelDialog.h"

#include "AppFlags.h"
#include "GdkLock.h"
#include "GtkHelpers.h"
#include "GuiHarness.h"
#include "LookChecks.h"
#include "OtherResources.h"
#include "ScreenSize.h"
#include "SensorPortHandler.h"
#include "World.h"
#include "XServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

constexpr uint32_t limit_ms = 20000;

std::atomic<int> served;
std::atomic<bool> isServedWithLock;

void serve() {
    isServedWithLock = GdkLock_isHeld();
    ++served;
}

GtkWidget* dialog() {
    GtkWidget* found = nullptr;
    GList* windows = gtk_window_list_toplevels();
    for (GList* one = windows; one != nullptr; one = one->next) {
        auto* window = static_cast<GtkWidget*>(one->data);
        if (std::string(gtk_widget_get_name(window)) == "sensorSettingsDialog" &&
            gtk_widget_get_mapped(window)) {
            found = window;
        }
    }
    g_list_free(windows);
    return found;
}

GtkWidget* part(const char* name) {
    GtkWidget* widget = dialog() != nullptr ? find_child(dialog(), name) : nullptr;
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}

GdkRectangle placeOnScreen(GtkWidget* widget) {
    int x = 0;
    int y = 0;
    GtkWidget* window = gtk_widget_get_toplevel(widget);
    gdk_window_get_origin(gtk_widget_get_window(window), &x, &y);
    int dx = 0;
    int dy = 0;
    gtk_widget_translate_coordinates(widget, window, 0, 0, &dx, &dy);
    return {x + dx, y + dy, gtk_widget_get_allocated_width(widget),
            gtk_widget_get_allocated_height(widget)};
}

void tap(const char* name) {
    Gui_settle();
    const GdkRectangle place = placeOnScreen(part(name));
    XServer_movePointer(place.x + place.width / 2, place.y + place.height / 2);
    XServer_button(true);
    Gui_settle();
    XServer_button(false);
    Gui_settle();
}

void detect(uint32_t bits, uint32_t changed) {
    CONNECTED_SENSORS record{bits, changed, false};
    SensorManager_UpdatePhysicalSensors(&record);
}

/// The only sensor.
SensorAdmission onlySensor() {
    return SensorManager_copyAdmissions()[0].value();
}

/// On no port, as the question for a sensor that left while it was being put.
constexpr SensorAdmission noSensor = {nullptr, sensorPort_None, sensorLogicalNoChannel, 0};

/// The sensor leaves between the question and the dialog.
void askTooLate(const SensorAdmission& sensor) {
    detect(0, SensorPort_bit(sensor.port));
    SensorChannelDialog_ask(sensor);
}

void askForNoSensor(const SensorAdmission& sensor) {
    detect(0, SensorPort_bit(sensor.port));
    SensorChannelDialog_ask(noSensor);
}

/// The thread that refreshes the screens, for one settling of the channels.
class RefreshThread {
public:
    RefreshThread() {
        thread = std::thread([this] {
            {
                const ScopedGdkLock lock;
                SensorManager_UpdateLogicalChannel();
            }
            isDone = true;
        });
    }
    ~RefreshThread() {
        Gui_waitUntil([this] { return isDone.load(); }, limit_ms);
        thread.join();
    }
    RefreshThread(const RefreshThread&) = delete;
    RefreshThread& operator=(const RefreshThread&) = delete;
    bool ends() {
        return Gui_waitUntil([this] { return isDone.load(); }, limit_ms);
    }

private:
    std::atomic<bool> isDone{false};
    std::thread thread;
};

class SensorChannelDialog : public testing::Test {
protected:
    SensorChannelDialog() {
        static const bool isRegistered = [] {
            SensorChannelDialog_register(GTK_WINDOW(entireScreen.mainWindow));
            SensorChannelDialog_registerWhileWaiting(serve);
            return true;
        }();
        EXPECT_TRUE(isRegistered);
        SensorManager_Create();
        SensorManager_registerChannelPrompt(SensorChannelDialog_ask);
        gtk_init_done = true;
        served = 0;
    }
    ~SensorChannelDialog() override {
        EXPECT_EQ(dialog(), nullptr);
        for (uint32_t port = 0; port < sensorPortCount; ++port) {
            sensorPortHandler_setIsConnected(port, false);
        }
        SensorManager_Destroy();
    }
    static bool isOpen() {
        return Gui_waitUntil([] { return dialog() != nullptr; }, limit_ms);
    }
    static std::string title() {
        return gtk_label_get_text(GTK_LABEL(part("sensorSettingsDialogTitleStr")));
    }
};

struct TitleCase {
    uint32_t bit;
    uint32_t port;
    const char* title;
};

TEST_F(SensorChannelDialog, NamesTheSensorByItsPort) {
    const TitleCase cases[] = {
        {sensorPortBit_Serial1, sensorPort_Serial1, "Tessel CW Sensor on Serial1"},
        {sensorPortBit_Serial2, sensorPort_Serial2, "Tessel CW Sensor on Serial2"},
        {sensorPortBit_USB1, sensorPort_USB1, "Tessel CW & Pulse Sensor on USB1"},
        {sensorPortBit_USB2, sensorPort_USB2, "Tessel CW & Pulse Sensor on USB2"},
    };
    for (const TitleCase& one : cases) {
        detect(one.bit, one.bit);
        RefreshThread refresh;
        ASSERT_TRUE(isOpen());
        EXPECT_EQ(title(), one.title);
        Look_expectShown(dialog());
        tap("sensorSettingsDialog_ok");
        EXPECT_TRUE(refresh.ends());
        EXPECT_EQ(SensorInstance_GetLogicalChannel(one.port), sensorLogicalChannel1);
        detect(0, one.bit);
    }
}

TEST_F(SensorChannelDialog, GivesTheSecondChannelWhenItIsChosen) {
    detect(sensorPortBit_Serial2, sensorPortBit_Serial2);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    tap("sensorSettingsDialogRadioChan2");
    EXPECT_TRUE(
        gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(part("sensorSettingsDialogRadioChan2"))));
    tap("sensorSettingsDialog_ok");
    EXPECT_TRUE(refresh.ends());
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial2), sensorLogicalChannel2);
}

TEST_F(SensorChannelDialog, LetsTheRefreshThreadServeItsOtherDutiesMeanwhile) {
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    EXPECT_TRUE(Gui_waitUntil([] { return served >= 3; }, limit_ms));
    EXPECT_TRUE(isServedWithLock);
    tap("sensorSettingsDialog_ok");
}

TEST_F(SensorChannelDialog, GoesAwayWithItsSensor) {
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    detect(0, sensorPortBit_Serial1);
    EXPECT_TRUE(refresh.ends());
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalNoChannel);
}

TEST_F(SensorChannelDialog, AsksForTheOtherSensorWhenTheFirstIsPulled) {
    detect(sensorPortBit_USB1 | sensorPortBit_Serial1, sensorPortBit_USB1 | sensorPortBit_Serial1);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    EXPECT_EQ(title(), "Tessel CW & Pulse Sensor on USB1");
    detect(sensorPortBit_Serial1, sensorPortBit_USB1);
    ASSERT_TRUE(Gui_waitUntil(
        [] { return dialog() != nullptr && title() == "Tessel CW Sensor on Serial1"; }, limit_ms));
    tap("sensorSettingsDialogRadioChan2");
    tap("sensorSettingsDialog_ok");
    EXPECT_TRUE(refresh.ends());
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalChannel2);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_USB1), sensorLogicalNoChannel);
}

TEST_F(SensorChannelDialog, ChangesNothingWhenItsSensorHasBeenReplaced) {
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    ASSERT_TRUE(displaySensorSettings(onlySensor()));
    detect(0, sensorPortBit_Serial1);
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    on_sensorSettingsDialog_ok_clicked(nullptr, nullptr);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalNoChannel);
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(SensorChannelDialog, AsksNothingForASensorThatLeftBeforeTheDialogOpened) {
    for (void (*const ask)(const SensorAdmission&) : {askTooLate, askForNoSensor}) {
        SensorManager_registerChannelPrompt(ask);
        detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
        World_clearSyslog();
        RefreshThread refresh;
        EXPECT_TRUE(refresh.ends());
        EXPECT_EQ(dialog(), nullptr);
        EXPECT_FALSE(World_syslogContains("Invalid Sensor Index"));
        if (dialog() != nullptr) {
            tap("sensorSettingsDialog_ok");
        }
    }
}

TEST_F(SensorChannelDialog, AsksForTheSensorThatTookThePlaceOfTheOneThatLeft) {
    SensorManager_registerChannelPrompt([](const SensorAdmission& sensor) {
        if (sensor.port == sensorPort_Serial1) {
            detect(0, sensorPortBit_Serial1);
            detect(sensorPortBit_USB1, sensorPortBit_USB1);
        }
        SensorChannelDialog_ask(sensor);
    });
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    EXPECT_EQ(title(), "Tessel CW & Pulse Sensor on USB1");
    tap("sensorSettingsDialog_ok");
    EXPECT_TRUE(refresh.ends());
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_USB1), sensorLogicalChannel1);
}

TEST_F(SensorChannelDialog, DoesNothingBeforeStartUpHasFinished) {
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    gtk_init_done = false;
    tap("sensorSettingsDialog_ok");
    EXPECT_NE(dialog(), nullptr);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalNoChannel);
    gtk_init_done = true;
    tap("sensorSettingsDialog_ok");
    EXPECT_TRUE(refresh.ends());
}

TEST_F(SensorChannelDialog, IsNotClosedByAnythingButAnAnswer) {
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    g_signal_emit_by_name(dialog(), "close"); // what the Escape key does
    gtk_window_close(GTK_WINDOW(dialog()));
    Gui_settle();
    EXPECT_NE(dialog(), nullptr);
    tap("sensorSettingsDialog_ok");
}

TEST_F(SensorChannelDialog, StandsAboveTheMainWindow) {
    detect(sensorPortBit_USB2, sensorPortBit_USB2);
    RefreshThread refresh;
    ASSERT_TRUE(isOpen());
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog())));
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(dialog())),
              GTK_WINDOW(entireScreen.mainWindow));
    Gui_settle();
    const GdkRectangle place = placeOnScreen(dialog());
    EXPECT_GE(place.x, 0);
    EXPECT_GE(place.y, 0);
    EXPECT_LE(place.x + place.width, screenWidth);
    EXPECT_LE(place.y + place.height, screenHeight);
    for (const char* name : {"sensorSettingsDialogRadioChan1", "sensorSettingsDialogRadioChan2",
                             "sensorSettingsDialog_ok"}) {
        EXPECT_GE(placeOnScreen(part(name)).height, 48) << name;
        EXPECT_GE(placeOnScreen(part(name)).width, 48) << name;
    }
    const char* picture = getenv("CHANNEL_DIALOG_PICTURE");
    if (picture != nullptr) {
        EXPECT_TRUE(Gui_savePicture(picture));
    }
    tap("sensorSettingsDialog_ok");
}

TEST_F(SensorChannelDialog, NamesASensorOnNoPortAsUnknown) {
    World_clearSyslog();
    ASSERT_TRUE(displaySensorSettings(noSensor));
    ASSERT_TRUE(isOpen());
    EXPECT_EQ(title(), "Unknown Sensor");
    EXPECT_TRUE(World_syslogContains("Invalid Sensor Index (255)."));
    tap("sensorSettingsDialog_ok");
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalNoChannel);
}

TEST_F(SensorChannelDialog, TellsWhenItsInterfaceFileIsMissing) {
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    const WithoutResources elsewhere;
    testing::internal::CaptureStderr();
    {
        RefreshThread refresh;
        EXPECT_TRUE(refresh.ends());
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr().rfind("Error loading file: ", 0), 0U);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalNoChannel);
}

TEST_F(SensorChannelDialog, AsksNothingWithAnInterfaceThatCouldNotBeAnswered) {
    detect(sensorPortBit_Serial1, sensorPortBit_Serial1);
    for (const char* content :
         {brokenInterfaces[2],
          R"(<interface><object class="GtkWindow" id="sensorSettingsDialog"/></interface>)"}) {
        const WithResource broken("sensorSettingsDialog.ui", content);
        World_clearSyslog();
        RefreshThread refresh;
        EXPECT_TRUE(refresh.ends()) << content;
        EXPECT_TRUE(isBrokenInterfaceTold()) << content;
        EXPECT_EQ(dialog(), nullptr);
    }
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalNoChannel);
}

} // namespace
