#include "Configuration.h"
#include "DialogFixture.h"
#include "LookChecks.h"
#include "MenuFixture.h"
#include "SerialConfig.h"
#include "SerialConfigHandler.h"
#include "SerialPort.h"
#include "WrappedCalls.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace {

constexpr char dialogName[] = "serSettingsDlg";
constexpr uint32_t dialogLimit_ms = 20000;
constexpr char settingsFile[] = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

/// The dialog on a command port of 9600 8N1.
class SerialDialog : public Screens {
protected:
    static void SetUpTestSuite() {
        Menus_build();
        SerialConfig_registerWithSettings();
    }
    void SetUp() override {
        World_resetSerialSettings();
        World_plugTerminal(serialCommandPortName);
        SerialPort_Open(serialCommandPortName);
        Screens::SetUp();
        setPort(B9600, DATA_BITS_8, STOP_BITS_1, PARITY_NONE);
        World_clearSyslog();
    }
    void TearDown() override {
        gtk_init_done = true;
        WrappedCalls_reset();
        EXPECT_TRUE(isApplied());
        if (serConfig != nullptr) {
            Gui_tap("serSettingsDialog_cancel");
        }
        EXPECT_EQ(serConfig, nullptr);
        SerialPort_Close();
        World_unplugTerminal(serialCommandPortName);
    }
    static void open() {
        Gui_tap("serialButton");
        ASSERT_TRUE(
            Gui_waitUntil([] { return Dialog_shown(dialogName) != nullptr; }, dialogLimit_ms));
    }
    static void apply() {
        Gui_tap("serSettingsDialog_apply");
        EXPECT_EQ(serConfig, nullptr);
        EXPECT_EQ(Dialog_shown(dialogName), nullptr);
        EXPECT_TRUE(isApplied());
    }
    static bool isApplied() {
        return Gui_waitUntil([] { return Dialog_shown("serProgress") == nullptr; }, dialogLimit_ms);
    }
    static void setPort(speed_t speed, data_bits_t dataBits, stop_bits_t stopBits,
                        parity_t parity) {
        termios settings{};
        EXPECT_EQ(SerialPort_GetConfig(&settings), 0);
        SerialConfig_TermiosPutSpeed(&settings, speed);
        SerialConfig_TermiosPutDataBits(&settings, dataBits);
        SerialConfig_TermiosPutStopBits(&settings, stopBits);
        SerialConfig_TermiosPutParity(&settings, parity);
        EXPECT_EQ(SerialPort_SetConfig(&settings), 0);
    }
    /// Taps a list's key and returns the list.
    static GtkWidget* openList(const char* comboName) {
        GtkComboBox* combo = GTK_COMBO_BOX(Gui_widget(comboName));
        Gui_tap(comboName);
        GtkWidget* menu =
            gtk_accessible_get_widget(GTK_ACCESSIBLE(gtk_combo_box_get_popup_accessible(combo)));
        EXPECT_TRUE(gtk_widget_get_mapped(menu)) << comboName;
        return menu;
    }
    /// Taps a list and then its line with this label.
    static void choose(const char* comboName, const char* label) {
        GtkComboBox* combo = GTK_COMBO_BOX(Gui_widget(comboName));
        GtkWidget* menu = openList(comboName);
        const std::string lineName = std::string(comboName) + ".line";
        gtk_widget_set_name(lineOf(menu, gtk_combo_box_get_model(combo), label), lineName.c_str());
        Gui_tap(lineName);
        gtk_widget_set_name(Gui_widget(lineName), "");
        EXPECT_EQ(chosen(comboName), label);
    }
    static GtkWidget* lineOf(GtkWidget* menu, GtkTreeModel* model, const std::string& label) {
        GList* lines = gtk_container_get_children(GTK_CONTAINER(menu));
        GtkWidget* found = nullptr;
        for (guint i = 0; i < g_list_length(lines); ++i) {
            GtkTreeIter row;
            gchar* text = nullptr;
            EXPECT_TRUE(gtk_tree_model_iter_nth_child(model, &row, nullptr, static_cast<int>(i)));
            gtk_tree_model_get(model, &row, 0, &text, -1);
            if (label == text) {
                found = static_cast<GtkWidget*>(g_list_nth_data(lines, i));
            }
            g_free(text);
        }
        g_list_free(lines);
        EXPECT_NE(found, nullptr) << label;
        return found;
    }
    static std::string chosen(const char* combo) {
        const char* id = gtk_combo_box_get_active_id(GTK_COMBO_BOX(Gui_widget(combo)));
        return id != nullptr ? id : "";
    }
    static bool isActive(const char* name) {
        return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(Gui_widget(name))) != FALSE;
    }
};

struct PortCase {
    speed_t speed;
    const char* speedLabel;
    data_bits_t dataBits;
    stop_bits_t stopBits;
    parity_t parity;
    const char* told;
};

constexpr std::array<PortCase, 6> ports = {{
    {B300, "300", DATA_BITS_7, STOP_BITS_2, PARITY_ODD, "300 7 O 2"},
    {B600, "600", DATA_BITS_8, STOP_BITS_1, PARITY_EVEN, "600 8 E 1"},
    {B1200, "1200", DATA_BITS_7, STOP_BITS_1, PARITY_EVEN, "1200 7 E 1"},
    {B2400, "2400", DATA_BITS_8, STOP_BITS_2, PARITY_NONE, "2400 8 N 2"},
    {B4800, "4800", DATA_BITS_8, STOP_BITS_2, PARITY_ODD, "4800 8 O 2"},
    {B9600, "9600", DATA_BITS_8, STOP_BITS_1, PARITY_NONE, "9600 8 N 1"},
}};

/// What the settings file says of it.
std::string linesOf(const PortCase& port) {
    return std::string("serialSpeed ") + port.speedLabel + "\nserialDataBits " +
           data_bits_label[port.dataBits] + "\nserialStopBits " + stop_bits_label[port.stopBits] +
           "\nserialParity " + parity_label[port.parity] + "\n";
}

} // namespace

TEST_F(SerialDialog, ItsOpenListsLookAsAllMenusDo) {
    open();
    for (const char* list : {"serSettingsComboSpeed", "serSettingsComboParity"}) {
        SCOPED_TRACE(list);
        GtkWidget* menu = openList(list);
        Look_expectMenu(menu);
        Look_expectTexts(Gui_widget(list));
        Dialog_keepPicture(list);
        gtk_menu_shell_deactivate(GTK_MENU_SHELL(menu));
        Gui_settle();
    }
}

TEST_F(SerialDialog, ShowsThePortsSettings) {
    for (const PortCase& port : ports) {
        setPort(port.speed, port.dataBits, port.stopBits, port.parity);
        open();
        EXPECT_EQ(chosen("serSettingsComboSpeed"), port.speedLabel);
        EXPECT_EQ(chosen("serSettingsComboParity"), parity_label[port.parity]);
        EXPECT_TRUE(isActive(data_bits_name[port.dataBits]));
        EXPECT_TRUE(isActive(stop_bits_name[port.stopBits]));
        Gui_tap("serSettingsDialog_cancel");
        EXPECT_EQ(serConfig, nullptr);
    }
}

TEST_F(SerialDialog, ApplySetsThePortAndStoresTheSettings) {
    for (const PortCase& port : ports) {
        open();
        choose("serSettingsComboSpeed", port.speedLabel);
        choose("serSettingsComboParity", parity_label[port.parity]);
        Gui_tap(data_bits_name[port.dataBits]);
        Gui_tap(stop_bits_name[port.stopBits]);
        apply();
        EXPECT_EQ(World_serialSettings(serialCommandPortName), port.told);
        EXPECT_THAT(World_readFile(settingsFile), testing::HasSubstr(linesOf(port)));
    }
}

TEST_F(SerialDialog, ChangesTouchTheRecordOnlyAndCancelForgetsThem) {
    const std::string before = World_serialSettings(serialCommandPortName);
    const std::string fileBefore = World_readFile(settingsFile);
    open();
    choose("serSettingsComboSpeed", "300");
    choose("serSettingsComboParity", "ODD");
    Gui_tap("data7");
    Gui_tap("stop2");
    EXPECT_EQ(serConfig->speed, static_cast<speed_t>(B300));
    EXPECT_EQ(serConfig->parity, PARITY_ODD);
    EXPECT_EQ(serConfig->dataBits, DATA_BITS_7);
    EXPECT_EQ(serConfig->stopBits, STOP_BITS_2);
    EXPECT_EQ(World_serialSettings(serialCommandPortName), before);
    Gui_tap("serSettingsDialog_cancel");
    EXPECT_EQ(World_serialSettings(serialCommandPortName), before);
    EXPECT_EQ(World_readFile(settingsFile), fileBefore);
    open();
    EXPECT_EQ(chosen("serSettingsComboSpeed"), "9600");
}

TEST_F(SerialDialog, ShowsTheLastKnownSettingsOfAPortThatHasGoneAndGivesItTheNewOnes) {
    const PortCase& before = ports[0];
    const PortCase after{B1200, "1200", before.dataBits, STOP_BITS_1, PARITY_EVEN, "1200 7 E 1"};
    setPort(before.speed, before.dataBits, before.stopBits, before.parity);
    World_unplugTerminal(serialCommandPortName); // the line is hung up
    open();
    EXPECT_EQ(chosen("serSettingsComboSpeed"), before.speedLabel);
    EXPECT_EQ(chosen("serSettingsComboParity"), parity_label[before.parity]);
    EXPECT_TRUE(isActive(data_bits_name[before.dataBits]));
    EXPECT_TRUE(isActive(stop_bits_name[before.stopBits]));
    choose("serSettingsComboSpeed", after.speedLabel);
    choose("serSettingsComboParity", parity_label[after.parity]);
    Gui_tap(stop_bits_name[after.stopBits]);
    apply();
    EXPECT_THAT(World_readFile(settingsFile), testing::HasSubstr(linesOf(after)));
    open();
    EXPECT_EQ(chosen("serSettingsComboSpeed"), after.speedLabel) << "known from now on";
    Gui_tap("serSettingsDialog_cancel");
    World_resetSerialSettings();
    World_plugTerminal(serialCommandPortName);
    EXPECT_TRUE(SerialPort_Reopen(serialCommandPortName));
    EXPECT_EQ(World_serialSettings(serialCommandPortName), after.told);
    writeConfigFile();
    EXPECT_THAT(World_readFile(settingsFile), testing::HasSubstr(linesOf(after)));
}

TEST_F(SerialDialog, APortThatStillSendsHoldsNobodyUp) {
    open();
    choose("serSettingsComboSpeed", "300");
    WrappedCalls_holdTerminals(true);
    Gui_tap("serSettingsDialog_apply");
    EXPECT_EQ(serConfig, nullptr);
    ASSERT_NE(Dialog_shown("serProgress"), nullptr) << "something is going on";
    Dialog_keepPicture("serial-applying");
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "9600 8 N 1");
    Gui_tap("serialButton");
    EXPECT_EQ(serConfig, nullptr) << "one at a time";
    configuration_setPowerUnitsIsdBm(configuration_getPowerUnitsIsdBm()); // nor the settings' file
    WrappedCalls_holdTerminals(false);
    EXPECT_TRUE(isApplied());
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "300 8 N 1");
    EXPECT_THAT(World_readFile(settingsFile), testing::HasSubstr("serialSpeed 300\n"));
    open();
}

TEST_F(SerialDialog, StaysOpenWhenItsSettingsCannotBeApplied) {
    open();
    choose("serSettingsComboSpeed", "300");
    WrappedCalls_fail(Call::threadCreate, EAGAIN);
    Gui_tap("serSettingsDialog_apply");
    WrappedCalls_reset();
    EXPECT_TRUE(World_syslogContains("Failed to start the thread that sets the serial port."));
    ASSERT_NE(serConfig, nullptr);
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "9600 8 N 1");
    apply();
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "300 8 N 1");
}

TEST_F(SerialDialog, LeavesToAPortThatHasComeMeanwhileHowItIsRead) {
    SerialPort_Close();
    open();
    choose("serSettingsComboSpeed", "1200");
    SerialPort_Open(serialCommandPortName);
    termios settings{};
    ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
    settings.c_lflag |= ICANON; // a server reads lines
    ASSERT_EQ(SerialPort_SetConfig(&settings), 0);
    apply();
    ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
    EXPECT_NE(settings.c_lflag & ICANON, 0U);
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "1200 8 N 1");
}

TEST_F(SerialDialog, IsOnTheScreenAndLargeEnoughForAFinger) {
    open();
    Dialog_expectTouchable(dialogName, {"serSettingsComboSpeed", "serSettingsComboParity", "data7",
                                        "data8", "stop1", "stop2", "serSettingsDialog_apply",
                                        "serSettingsDialog_cancel", "serialButton"});
    Look_expectShown(Dialog_shown(dialogName));
    Look_expectLastKeys("serSettingsDialog_cancel", "serSettingsDialog_apply");
    Dialog_keepPicture("serial-settings");
}

TEST_F(SerialDialog, ClosesWithItsWindowAndOpensOnlyOnce) {
    open();
    struct serConfig* const record = serConfig;
    SerialSettingsDialog_Create();
    EXPECT_EQ(serConfig, record);
    gtk_window_close(GTK_WINDOW(Dialog_shown(dialogName)));
    Gui_settle();
    EXPECT_EQ(serConfig, nullptr);
    EXPECT_EQ(Dialog_shown(dialogName), nullptr);
}

TEST_F(SerialDialog, DoesNothingBeforeStartUpHasFinished) {
    gtk_init_done = false;
    Gui_tap("serialButton");
    EXPECT_EQ(serConfig, nullptr);
    gtk_init_done = true;
    open();
    gtk_init_done = false;
    Gui_tap("data7");
    Gui_tap("serSettingsDialog_apply");
    ASSERT_NE(serConfig, nullptr);
    EXPECT_EQ(serConfig->dataBits, DATA_BITS_8);
    EXPECT_EQ(World_serialSettings(serialCommandPortName), "9600 8 N 1");
}

TEST_F(SerialDialog, TellsWhenItsInterfaceFileIsMissing) {
    const WithoutResources elsewhere;
    SerialSettingsDialog_Create();
    EXPECT_TRUE(World_syslogContains("Error loading file: "));
    EXPECT_EQ(serConfig, nullptr);
}

TEST_F(SerialDialog, BrokenInterfaceFilesOpenNothing) {
    for (const char* content : brokenInterfaces) {
        const WithResource broken("serSettingsDialog.ui", content);
        World_clearSyslog();
        SerialSettingsDialog_Create();
        EXPECT_TRUE(isBrokenInterfaceTold()) << content;
        EXPECT_EQ(serConfig, nullptr);
    }
}

TEST_F(SerialDialog, WithoutMemoryTheProgramEndsWithADiagnostic) {
    EXPECT_EXIT(
        {
            WrappedCalls_fail(Call::allocateMemory, ENOMEM);
            SerialSettingsDialog_Create();
        },
        testing::ExitedWithCode(255), "");
    EXPECT_TRUE(World_syslogContains("initSerConfig: serConfig malloc failed"));
}
