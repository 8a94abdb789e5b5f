#include "CSensorDisplayFSM.h"
#include "DialogHelpers.h"
#include "GdkLock.h"
#include "GtkHelpers.h"
#include "ScreenFixture.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

class MainWindow : public Screens {};

std::string nameOf(GtkWidget* widget) {
    return gtk_widget_get_name(widget);
}

TEST_F(MainWindow, FillsTheWholeScreenWithoutABorder) {
    EXPECT_EQ(nameOf(entireScreen.mainWindow), "mainWindow8830K");
    EXPECT_EQ(nameOf(entireScreen.entireScreenContainer), "entireScreenContainer8830K");
    EXPECT_FALSE(gtk_window_get_decorated(GTK_WINDOW(entireScreen.mainWindow)));
    EXPECT_EQ(gtk_widget_get_allocated_width(entireScreen.mainWindow), 1024);
    EXPECT_EQ(gtk_widget_get_allocated_height(entireScreen.mainWindow), 768);
    int x = -1;
    int y = -1;
    gdk_window_get_origin(gtk_widget_get_window(entireScreen.mainWindow), &x, &y);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
}

TEST_F(MainWindow, HoldsEveryContainerAtItsPlace) {
    struct Row {
        GtkWidget* container;
        GtkWidget* parent;
        int y;
    };
    std::vector<Row> rows = {
        {entireScreen.topFixedLine, entireScreen.entireScreenContainer, 0},
        {entireScreen.singleSensorContainer, entireScreen.entireScreenContainer, 80},
        {entireScreen.noConnectionScreen, entireScreen.singleSensorContainer, 0},
        {entireScreen.singleMeasurementView, entireScreen.singleSensorContainer, 0},
        {entireScreen.singleChannel1Screen, entireScreen.singleMeasurementView, 0},
        {entireScreen.singleChannel1ScreenGraph, entireScreen.singleMeasurementView, 0},
        {entireScreen.singleChannelPulseScreen, entireScreen.singleMeasurementView, 0},
        {entireScreen.dualSensorContainer, entireScreen.entireScreenContainer, 80},
    };
    for (int d = 0; d < 2; ++d) {
        GtkWidget* view = entireScreen.dualMeasurementViews[d];
        rows.insert(rows.end(), {{entireScreen.dualNoConnectionScreens[d],
                                  entireScreen.dualSensorContainer, d * 344},
                                 {view, entireScreen.dualSensorContainer, d * 344},
                                 {entireScreen.dualCWChannels[d], view, 0},
                                 {entireScreen.dualCWChannelsGraph[d], view, 0},
                                 {entireScreen.dualPWChannels[d], view, 0}});
    }
    for (const Row& row : rows) {
        ASSERT_NE(row.container, nullptr);
        SCOPED_TRACE(nameOf(row.container));
        EXPECT_EQ(gtk_widget_get_parent(row.container), row.parent);
        int x = -1;
        int y = -1;
        gtk_container_child_get(GTK_CONTAINER(row.parent), row.container, "x", &x, "y", &y,
                                nullptr);
        EXPECT_EQ(x, 0);
        EXPECT_EQ(y, row.y);
        int width = 0;
        gtk_widget_get_size_request(row.container, &width, nullptr);
        EXPECT_EQ(width, 1024);
    }
}

TEST_F(MainWindow, NamesAContainerAsItsFieldIsWritten) {
    const struct {
        GtkWidget* container;
        const char* name;
    } rows[] = {
        {entireScreen.topFixedLine, "topFixedLine"},
        {entireScreen.singleSensorContainer, "singleSensorContainer"},
        {entireScreen.noConnectionScreen, "noConnectionScreen"},
        {entireScreen.singleMeasurementView, "singleMeasurementView"},
        {entireScreen.singleChannel1Screen, "singleChannel1Screen"},
        {entireScreen.singleChannel1ScreenGraph, "singleChannel1ScreenGraph"},
        {entireScreen.singleChannelPulseScreen, "singleChannelPulseScreen"},
        {entireScreen.dualSensorContainer, "dualSensorContainer"},
        {entireScreen.dualNoConnectionScreens[0], "dualNoConnectionScreens[0]"},
        {entireScreen.dualNoConnectionScreens[1], "dualNoConnectionScreens[1]"},
        {entireScreen.dualMeasurementViews[0], "dualMeasurementViews[0]"},
        {entireScreen.dualMeasurementViews[1], "dualMeasurementViews[1]"},
        {entireScreen.dualCWChannels[0], "dualCWChannels[0]"},
        {entireScreen.dualCWChannels[1], "dualCWChannels[1]"},
        {entireScreen.dualCWChannelsGraph[0], "dualCWChannelsGraph[0]"},
        {entireScreen.dualCWChannelsGraph[1], "dualCWChannelsGraph[1]"},
        {entireScreen.dualPWChannels[0], "dualPWChannels[0]"},
        {entireScreen.dualPWChannels[1], "dualPWChannels[1]"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(nameOf(row.container), row.name);
    }
}

TEST_F(MainWindow, ShowsOnlyTheNoSensorScreenAfterReset) {
    Gui_showScreen(gtkSensorDualChannel1);
    setWidgetVisible(entireScreen.dualSensorContainer, false);
    setWidgetVisible(entireScreen.singleMeasurementView, false);
    CSensorDisplayFSM_reset();
    Gui_settle();
    EXPECT_TRUE(Gui_isShown("singleSensorContainer"));
    EXPECT_TRUE(Gui_isShown("noConnectionScreen"));
    EXPECT_TRUE(Gui_isShown("noConnection.title"));
    EXPECT_FALSE(Gui_isShown("singleMeasurementView"));
    EXPECT_FALSE(Gui_isShown("dualSensorContainer"));
    EXPECT_EQ(Gui_text("noConnection.title"), "No Sensor Detected");
}

TEST_F(MainWindow, HasSixCwScreensAndThreeNoConnectionScreens) {
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorSingleChannel1)->container,
              entireScreen.singleChannel1Screen);
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorSingleChannel1withGraph)->container,
              entireScreen.singleChannel1ScreenGraph);
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorDualChannel1)->container,
              entireScreen.dualCWChannels[0]);
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorDualChannel1withGraph)->container,
              entireScreen.dualCWChannelsGraph[0]);
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorDualChannel2)->container,
              entireScreen.dualCWChannels[1]);
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorDualChannel2withGraph)->container,
              entireScreen.dualCWChannelsGraph[1]);
    EXPECT_EQ(gtkSensor_noConnectionDisplay(gtkSensorSingleNoConnection)->container,
              entireScreen.noConnectionScreen);
    EXPECT_EQ(gtkSensor_noConnectionDisplay(gtkSensorDualNoConnectionCh1)->container,
              entireScreen.dualNoConnectionScreens[0]);
    EXPECT_EQ(gtkSensor_noConnectionDisplay(gtkSensorDualNoConnectionCh2)->container,
              entireScreen.dualNoConnectionScreens[1]);
}

TEST_F(MainWindow, AnswersNullForAScreenOfTheOtherKind) {
    EXPECT_EQ(gtkSensor_cwDisplay(gtkSensorSinglePulse), nullptr);
    EXPECT_EQ(gtkSensor_cwDisplay(gtkSensorSingleNoConnection), nullptr);
    EXPECT_EQ(gtkSensor_pulseDisplay(gtkSensorDualChannel2withGraph), nullptr);
    EXPECT_EQ(gtkSensor_pulseDisplay(gtkSensorSingleNoConnection), nullptr);
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorSingleNoConnection), nullptr);
    EXPECT_EQ(gtkSensor_powerDisplay(gtkSensorInstanceCount), nullptr);
    EXPECT_EQ(gtkSensor_noConnectionDisplay(gtkSensorSingleChannel1), nullptr);
    EXPECT_EQ(gtkSensor_noConnectionDisplay(gtkSensorInstanceCount), nullptr);
}

gboolean countRequest(GtkWidget* /*window*/, GdkEvent* /*event*/, gpointer count) {
    ++*static_cast<int*>(count);
    return TRUE;
}

/// What a window manager's message becomes.
void requestToClose(GtkWidget* window) {
    GdkEvent* event = gdk_event_new(GDK_DELETE);
    event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(window)));
    gdk_event_put(event);
    gdk_event_free(event);
    Gui_settle();
}

TEST_F(MainWindow, ARequestToCloseItIsHeardBelowAModalDialog) {
    int mainRequests = 0;
    int dialogRequests = 0;
    const gulong handler = g_signal_connect(entireScreen.mainWindow, "delete-event",
                                            G_CALLBACK(countRequest), &mainRequests);
    requestToClose(entireScreen.mainWindow);
    EXPECT_EQ(mainRequests, 1);
    GtkWidget* dialog = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    g_signal_connect(dialog, "delete-event", G_CALLBACK(countRequest), &dialogRequests);
    Dialog_showAbove(dialog);
    Gui_settle();
    requestToClose(entireScreen.mainWindow);
    EXPECT_EQ(mainRequests, 2);
    EXPECT_EQ(dialogRequests, 0);
    requestToClose(dialog);
    EXPECT_EQ(mainRequests, 2);
    EXPECT_EQ(dialogRequests, 1);
    gtk_widget_destroy(dialog);
    g_signal_handler_disconnect(entireScreen.mainWindow, handler);
}

TEST_F(MainWindow, NoWidgetHasTheFocus) {
    EXPECT_FALSE(MainWindow_displayHasFocus());
}

TEST_F(MainWindow, FocusOnAWidgetOfAScreenIsNoticed) {
    Gui_showScreen(gtkSensorSingleChannel1);
    GtkWidget* button = Gui_widget("single.configButton");
    gtk_widget_set_can_focus(button, TRUE);
    gtk_widget_grab_focus(button);
    EXPECT_TRUE(MainWindow_displayHasFocus());
    EXPECT_TRUE(CGTKPowerDisplay_getFocusState(gtkSensor_powerDisplay(gtkSensorSingleChannel1)));
    EXPECT_FALSE(CGTKPowerDisplay_getFocusState(gtkSensor_powerDisplay(gtkSensorDualChannel1)));
    gtk_window_set_focus(GTK_WINDOW(entireScreen.mainWindow), nullptr);
    gtk_widget_set_can_focus(button, FALSE);
    EXPECT_FALSE(MainWindow_displayHasFocus());
}

TEST_F(MainWindow, TheStyleSheetReachesItsWidgets) {
    Gui_showScreen(gtkSensorSingleChannel1);
    GtkWidget* entry = gtk_entry_new();
    gtk_fixed_put(GTK_FIXED(entireScreen.topFixedLine), entry, 0, 0);
    gtk_widget_set_name(entry, "test.entry");
    gtk_widget_show(entry);
    EXPECT_EQ(Gui_colour("test.entry"), "#ffff00");
    gtk_widget_destroy(entry);
    GtkWidget* label = gtk_label_new("text");
    gtk_fixed_put(GTK_FIXED(entireScreen.topFixedLine), label, 0, 0);
    gtk_widget_set_name(label, "test.label");
    gtk_widget_show(label);
    EXPECT_EQ(Gui_colour("test.label"), "#ffffff");
    gtk_widget_destroy(label);
}

TEST(GtkHelpers, ColoursAreSixteenBitChannels) {
    struct Row {
        const GdkRGBA& colour;
        double red, green, blue;
    };
    const Row rows[] = {
        {bgColorBlack, 0, 0, 0},
        {bgColorWhite, 65535, 65535, 65535},
        {bgDialogGrey, 56540, 56026, 54741},
        {bgYellow, 65535, 65535, 0},
        {textColorBlack, 0, 0, 0},
        {textColorWhite, 65535, 65535, 65535},
        {textColorLightGrey, 44367, 44110, 44110},
        {textColorRed, 65535, 0, 0},
        {quorvelSpecificRed, 65278, 19018, 18761},
        {textColorClickable, 65535, 55255, 26214},
        {graphColorBlue, 0, 40349, 56540},
        {quorvelSpecificBlue, 20303, 33153, 48573},
        {quorvelSpecificGreen, 20303, 45232, 20560},
    };
    for (const Row& row : rows) {
        EXPECT_DOUBLE_EQ(row.colour.red * 65535, row.red);
        EXPECT_DOUBLE_EQ(row.colour.green * 65535, row.green);
        EXPECT_DOUBLE_EQ(row.colour.blue * 65535, row.blue);
        EXPECT_DOUBLE_EQ(row.colour.alpha, 1.0);
    }
}

TEST(GtkHelpers, FontsAreMonospace) {
    EXPECT_STREQ(fontFamily, "Monospace");
    gchar* text = pango_font_description_to_string(fontDescriptionValue);
    EXPECT_STREQ(text, "Monospace 20");
    g_free(text);
}

TEST(GtkHelpers, FindChildSearchesDepthFirst) {
    EXPECT_EQ(find_child(entireScreen.mainWindow, "lower.match.value"),
              gtkSensor_cwDisplay(gtkSensorDualChannel2)->match.value);
    EXPECT_EQ(find_child(entireScreen.mainWindow, "no such widget"), nullptr);
    EXPECT_EQ(find_child(nullptr, "single.title"), nullptr);
}

TEST(GtkHelpers, NullWidgetsAreSkipped) {
    setLabelText(nullptr, "text");
    setWidgetVisible(nullptr, true);
    setWidgetFgColor(nullptr, textColorRed);
    setWidgetFgAndBgColors(nullptr, textColorRed, bgColorBlack);
    EXPECT_FALSE(containsFocus(nullptr));
}

TEST(GtkHelpers, AMissingImageIsLoggedAndLeftEmpty) {
    World_clearSyslog();
    GtkWidget* image = newImageFromFile("./resources/no-such-image.png");
    EXPECT_TRUE(GTK_IS_IMAGE(image));
    EXPECT_TRUE(World_syslogContains("Cannot read ./resources/no-such-image.png"));
    g_object_ref_sink(image);
    g_object_unref(image);
}

TEST(GdkLock, IsHeldByTheThreadThatEnteredIt) {
    EXPECT_TRUE(GdkLock_isHeld());
    {
        const ScopedGdkUnlock unlocked;
        EXPECT_FALSE(GdkLock_isHeld());
        const ScopedGdkLock locked;
        EXPECT_TRUE(GdkLock_isHeld());
    }
    EXPECT_TRUE(GdkLock_isHeld());
}

#ifndef NDEBUG
TEST(GdkLockDeathTest, AMisuseEndsADebugBuild) {
    EXPECT_DEATH(GdkLock_enter(), "not recursive");
    EXPECT_DEATH(
        {
            GdkLock_leave();
            GdkLock_leave();
        },
        "does not hold it");
    EXPECT_DEATH(
        {
            GdkLock_leave();
            GdkLock_assertHeld();
        },
        "under the GDK lock only");
}
#endif

/// Background of a button of this name. It stands outside the main window, whose own sheet paints
/// all buttons.
std::string backgroundOfButton(const char* name) {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* button = gtk_button_new();
    gtk_widget_set_name(button, name);
    gtk_container_add(GTK_CONTAINER(window), button);
    GdkRGBA* colour = nullptr;
    gtk_style_context_get(gtk_widget_get_style_context(button), GTK_STATE_FLAG_NORMAL,
                          GTK_STYLE_PROPERTY_BACKGROUND_COLOR, &colour, nullptr);
    char* text = gdk_rgba_to_string(colour);
    const std::string background = text;
    g_free(text);
    gdk_rgba_free(colour);
    gtk_widget_destroy(window);
    return background;
}

TEST_F(MainWindow, TheMisspeltStyleLeavesTheActiveButtonAlone) {
    EXPECT_EQ(backgroundOfButton("pulseDisplayctive"), "rgb(0,0,0)");
    EXPECT_NE(backgroundOfButton("pulseDisplayActive"), "rgb(0,0,0)");
    EXPECT_EQ(backgroundOfButton("pulseDisplayActive"), backgroundOfButton("any"));
}

} // namespace
