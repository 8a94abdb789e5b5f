#include "ScreenFixture.h"

#include <string>

namespace {

class NoConnection : public Screens {};

constexpr GtkSensorInstance screens[] = {gtkSensorSingleNoConnection, gtkSensorDualNoConnectionCh1,
                                         gtkSensorDualNoConnectionCh2};
constexpr const char* names[] = {"noConnection", "upper.noConnection", "lower.noConnection"};

void expectTexts(size_t screen, const std::string& title, const std::string& description) {
    EXPECT_EQ(Gui_text(std::string(names[screen]) + ".title"), title);
    EXPECT_EQ(Gui_text(std::string(names[screen]) + ".description"), description);
}

TEST_F(NoConnection, AsksForASensor) {
    for (size_t i = 0; i < 3; ++i) {
        CGTKNoConnectionDisplay_setNoConnect(gtkSensor_noConnectionDisplay(screens[i]));
        expectTexts(i, "No Sensor Detected",
                    "Please Connect a Quorvel Tessel CW or Tessel CW & Pulse sensor to the 8830K "
                    "in order to make measurements.");
    }
}

TEST_F(NoConnection, SaysThatASensorIsConnecting) {
    for (size_t i = 0; i < 3; ++i) {
        CGTKNoConnectionDisplay_setConnecting(gtkSensor_noConnectionDisplay(screens[i]));
        expectTexts(i, "Connecting...", "The sensor is powering on and initializing. Please wait.");
    }
}

TEST_F(NoConnection, NamesTheKindOfSensorByThePort) {
    struct Row {
        const char* port;
        const char* kind;
    };
    constexpr Row rows[] = {{"Serial1", "Tessel CW"},       {"Serial2", "Tessel CW"},
                            {"USB1", "Tessel CW & Pulse"},  {"USB2", "Tessel CW & Pulse"},
                            {"Seria", "Tessel CW & Pulse"}, {"None", "Tessel CW & Pulse"}};
    CGTKNoConnectionDisplay* display = gtkSensor_noConnectionDisplay(gtkSensorSingleNoConnection);
    for (const Row& row : rows) {
        CGTKNoConnectionDisplay_setConnecting_withPort(display, row.port);
        expectTexts(0, "Connecting...",
                    std::string("A ") + row.kind + " sensor on port " + row.port +
                        " is powering on and initializing. Please wait.");
        CGTKNoConnectionDisplay_setSensorError_withPort(display, row.port);
        expectTexts(0, "Critical Sensor Error",
                    std::string("A critical error occured in the ") + row.kind +
                        " sensor on port " + row.port +
                        ".\nTry disconnecting and reconnecting the sensor or contact Quorvel.");
    }
}

TEST_F(NoConnection, ACriticalErrorStandsOutAndPasses) {
    CGTKNoConnectionDisplay* display = gtkSensor_noConnectionDisplay(gtkSensorSingleNoConnection);
    CGTKNoConnectionDisplay_setSensorError_withPort(display, "USB1");
    EXPECT_EQ(Gui_colour("noConnection.title"), "#fe4a49");
    CGTKNoConnectionDisplay_setNoConnect(display);
    EXPECT_EQ(Gui_colour("noConnection.title"), "#ffffff");
}

TEST_F(NoConnection, AMissingLabelOrBufferIsLoggedAndLeft) {
    CGTKNoConnectionDisplay display = {};
    World_clearSyslog();
    CGTKNoConnectionDisplay_setTitle(&display, "title");
    EXPECT_TRUE(World_syslogContains("DisplayFSM: instance->message is null!"));
    CGTKNoConnectionDisplay_setDescription(&display, "text");
    EXPECT_TRUE(World_syslogContains("DisplayFSM: instance->descriptionBuffer is null!"));
}

TEST_F(NoConnection, TheDescriptionCannotBeEdited) {
    GtkWidget* view = Gui_widget("noConnection.description");
    EXPECT_FALSE(gtk_text_view_get_editable(GTK_TEXT_VIEW(view)));
    EXPECT_FALSE(gtk_text_view_get_cursor_visible(GTK_TEXT_VIEW(view)));
    EXPECT_FALSE(gtk_widget_get_can_focus(view));
}

TEST_F(NoConnection, HalfScreensAreNamedDual) {
    const auto boxName = [](GtkSensorInstance screen) {
        GtkWidget* title = gtkSensor_noConnectionDisplay(screen)->title;
        return std::string(gtk_widget_get_name(gtk_widget_get_parent(title)));
    };
    EXPECT_EQ(boxName(gtkSensorDualNoConnectionCh1), "dual");
    EXPECT_EQ(boxName(gtkSensorDualNoConnectionCh2), "dual");
    EXPECT_NE(boxName(gtkSensorSingleNoConnection), "dual");
}

} // namespace
