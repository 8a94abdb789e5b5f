#include "AppFlags.h"
#include "BatteryIndicator.h"
#include "BatteryMonitor.h"
#include "FocusGuard.h"
#include "GtkThread.h"
#include "LookChecks.h"
#include "MenuFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <unistd.h>

namespace {

bool hasNoRoom = false;

} // namespace

extern "C" {

GdkPixbuf* __real_gdk_pixbuf_copy(const GdkPixbuf*);
GdkPixbuf* __wrap_gdk_pixbuf_copy(const GdkPixbuf* picture) {
    return hasNoRoom ? nullptr : __real_gdk_pixbuf_copy(picture);
}
}

namespace {

/// The top line's keys and the battery's images, once for the program.
class TopLine : public testing::Test {
protected:
    static void SetUpTestSuite() {
        Menus_build();
        loadBatteryImages();
        BatteryIndicator_place(GTK_FIXED(entireScreen.topFixedLine));
    }
    void SetUp() override {
        initBatteryMonitor();
    }

    void TearDown() override {
        quit = false;
        hasNoRoom = false;
    }

    /// Columns of the charging picture with green in them, and whether it has yellow.
    struct ChargingImage {
        int greenColumns = 0;
        bool hasBolt = false;
    };
    static ChargingImage chargingImage() {
        GdkPixbuf* picture = gtk_image_get_pixbuf(GTK_IMAGE(Gui_widget("batteryCharging")));
        const guchar* first = gdk_pixbuf_read_pixels(picture);
        ChargingImage seen;
        for (int x = 0; x < gdk_pixbuf_get_width(picture); ++x) {
            bool isGreen = false;
            for (int y = 0; y < gdk_pixbuf_get_height(picture); ++y) {
                const guchar* pixel = first + y * gdk_pixbuf_get_rowstride(picture) +
                                      x * gdk_pixbuf_get_n_channels(picture);
                isGreen = isGreen || (pixel[1] > pixel[0] && pixel[1] > pixel[2]);
                seen.hasBolt = seen.hasBolt || (pixel[0] > 200 && pixel[2] < 150);
            }
            seen.greenColumns += isGreen ? 1 : 0;
        }
        return seen;
    }

    static void show(bool present, int charging, int percent) {
        batteryPresent = present;
        batteryCharging = charging;
        batteryPercent = percent;
        batteryIsPolled = true;
        updateBatteryDisplay();
        Gui_settle();
    }
};

} // namespace

TEST_F(TopLine, ExactlyOneImageIsShownInEveryState) {
    struct Case {
        bool present;
        int charging;
        int percent;
        const char* image;
        const char* text;
        const char* colour;
    };
    constexpr std::array<Case, 8> cases = {{
        {true, BATT_NOT_CHARGING, 80, "battery100", "80%", "#ffffff"},
        {true, BATT_NOT_CHARGING, 60, "battery75", "60%", "#ffffff"},
        {true, BATT_NOT_CHARGING, 30, "battery50", "30%", "#ffffff"},
        {true, BATT_NOT_CHARGING, 10, "battery25", "10%", "#ffffff"},
        {true, BATT_NOT_CHARGING, 5, "battery5", "5%", "#ff0000"},
        {true, BATT_FULLY_CHARGED, 5, "batteryPlug", "100%", "#ffffff"},
        {true, BATT_CHARGING_VOLTAGE, 5, "batteryCharging", "---%", "#ffffff"},
        {false, BATT_MISSING, 5, "batteryNC", "", ""},
    }};
    for (const Case& row : cases) {
        show(row.present, row.charging, row.percent);
        for (const Case& other : cases) {
            EXPECT_EQ(Gui_isShown(other.image), std::string(other.image) == row.image)
                << other.image << " while " << row.image;
        }
        const bool hasText = *row.text != '\0';
        EXPECT_EQ(Gui_isShown("batteryPercent"), hasText) << row.image;
        if (hasText) {
            EXPECT_EQ(Gui_text("batteryPercent"), row.text);
            EXPECT_EQ(Gui_colour("batteryPercent"), row.colour);
        }
    }
}

TEST_F(TopLine, LooksAsTheDesignAsks) {
    GtkWidget* line = entireScreen.topFixedLine;
    show(true, BATT_FULLY_CHARGED, 5);
    const GdkRectangle widest = Gui_place(Gui_widget("batteryPercent"));
    EXPECT_EQ(Look_targetsIn(line).size(), 5U);
    for (GtkWidget* key : Look_targetsIn(line)) {
        EXPECT_GE(Look_gap(Gui_place(key), widest), lookGap_px) << Look_nameOf(key);
    }
    EXPECT_GE(Look_gap(widest, Gui_place(Gui_widget("batteryPlug"))), lookGap_px);
    for (const int percent : {100, 30, 5}) {
        for (const int charging : {BATT_NOT_CHARGING, BATT_FULLY_CHARGED, BATT_CHARGING_VOLTAGE}) {
            SCOPED_TRACE(testing::Message() << charging << " at " << percent << " %");
            show(true, charging, percent);
            Look_expectShown(line);
        }
    }
}

TEST_F(TopLine, UnknownChargeStateShowsNothing) {
    show(true, BATT_MISSING, 50);
    EXPECT_FALSE(Gui_isShown("batteryPercent"));
    EXPECT_FALSE(Gui_isShown("battery50"));
}

TEST_F(TopLine, ReleasedMonitorShowsThePlugAlone) {
    disableBatteryMonitor();
    show(true, BATT_NOT_CHARGING, 50);
    EXPECT_TRUE(Gui_isShown("batteryPlug"));
    EXPECT_FALSE(Gui_isShown("batteryPercent"));
}

TEST_F(TopLine, AChargingPictureThatFindsNoRoomLeavesTheFormerOne) {
    show(true, BATT_CHARGING_ACCUM, 50);
    const int half = chargingImage().greenColumns;
    hasNoRoom = true;
    show(true, BATT_CHARGING_ACCUM, 90);
    EXPECT_TRUE(Gui_isShown("batteryCharging"));
    EXPECT_EQ(chargingImage().greenColumns, half);
    hasNoRoom = false;
    show(true, BATT_CHARGING_ACCUM, 90);
    EXPECT_GT(chargingImage().greenColumns, half) << "the next pass draws it";
}

TEST_F(TopLine, TheChargingPictureFillsWithTheBatteryAndKeepsItsBolt) {
    show(true, BATT_CHARGING_ACCUM, 100);
    const int whole = chargingImage().greenColumns;
    EXPECT_GE(whole, 60) << "the file's own picture is full";
    for (const int percent : {0, 1, 25, 50, 99, 100, 0}) {
        show(true, BATT_CHARGING_ACCUM, percent);
        const ChargingImage seen = chargingImage();
        EXPECT_NEAR(seen.greenColumns, whole * percent / 100, 1) << percent;
        EXPECT_TRUE(seen.hasBolt) << percent;
        EXPECT_TRUE(Gui_isShown("batteryCharging")) << percent;
    }
    EXPECT_EQ(chargingImage().greenColumns, 0);
    show(true, BATT_CHARGING_ACCUM, 70);
    show(true, BATT_CHARGING_VOLTAGE, 70);
    EXPECT_EQ(chargingImage().greenColumns, 0) << "nobody knows yet how full it is";
    EXPECT_TRUE(chargingImage().hasBolt);
}

TEST_F(TopLine, KeepsWhatItShowedWhileTheInstrumentIsBeingSwitchedOff) {
    show(true, BATT_NOT_CHARGING, 30);
    quit = true;
    disableBatteryMonitor();
    show(true, BATT_CHARGING_ACCUM, 80);
    EXPECT_TRUE(Gui_isShown("battery50"));
    EXPECT_EQ(Gui_text("batteryPercent"), "30%");
    EXPECT_FALSE(Gui_isShown("batteryPlug"));
    EXPECT_FALSE(Gui_isShown("batteryCharging"));
}

TEST(TopLineDeathTest, EveryMissingImageIsTold) {
    // In a process of its own: this one's images stay.
    const auto loadWithoutFiles = [] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        if (chdir("/") == 0) {
            loadBatteryImages();
        }
        _exit(0);
    };
    EXPECT_EXIT(loadWithoutFiles(), testing::ExitedWithCode(0),
                "Cannot read ./resources/battery100.png\n"
                "Cannot read ./resources/battery75.png\n"
                "Cannot read ./resources/battery50.png\n"
                "Cannot read ./resources/battery25.png\n"
                "Cannot read ./resources/battery5.png\n"
                "Cannot read ./resources/batteryPlug.png\n"
                "Cannot read ./resources/batteryNC.png\n"
                "Cannot read ./resources/batteryCharging.png\n");
}

TEST(FocusGuard, TakesTheFocusFromTheMainWindow) {
    GtkWidget* button = Gui_widget("single.fwd.unitsButton");
    gtk_widget_set_can_focus(button, TRUE);
    gtk_window_set_focus(GTK_WINDOW(entireScreen.mainWindow), button);
    EXPECT_TRUE(handleFocusChange());
    EXPECT_EQ(gtk_window_get_focus(GTK_WINDOW(entireScreen.mainWindow)), nullptr);
    EXPECT_FALSE(handleFocusChange()) << "nothing is left to take";
}

TEST_F(TopLine, EveryTwentyFifthPassOfTheScreensTakesTheFocus) {
    constexpr int passes = 25;
    GtkThreadState state = GtkThread_begin(0);
    GtkWidget* button = Gui_widget("single.fwd.unitsButton");
    GtkWindow* window = GTK_WINDOW(entireScreen.mainWindow);
    gtk_widget_set_can_focus(button, TRUE);
    for (int round = 0; round < 2; ++round) {
        gtk_window_set_focus(window, button);
        for (int pass = 1; pass < passes; ++pass) {
            GtkThread_pass(&state, 0);
            EXPECT_EQ(gtk_window_get_focus(window), button) << "pass " << pass;
        }
        GtkThread_pass(&state, 0);
        EXPECT_EQ(gtk_window_get_focus(window), nullptr);
    }
    gtk_widget_set_can_focus(button, FALSE);
}

TEST(FocusGuard, LeavesAFocusInsideADialogAlone) {
    GtkWidget* dialog = gtk_dialog_new();
    GtkWidget* entry = gtk_entry_new();
    gtk_container_add(GTK_CONTAINER(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), entry);
    gtk_widget_show_all(dialog);
    gtk_window_set_focus(GTK_WINDOW(dialog), entry);
    EXPECT_FALSE(handleFocusChange());
    EXPECT_EQ(gtk_window_get_focus(GTK_WINDOW(dialog)), entry);
    gtk_widget_destroy(dialog);
}
