#include "DialogFixture.h"
#include "EthernetConfig.h"
#include "EthernetConfigHandler.h"
#include "EthernetKeypadHandler.h"
#include "LookChecks.h"
#include "MenuFixture.h"
#include "SerialConfigHandler.h"
#include "WorldTree.h"
#include "WrappedCalls.h"

#include <algorithm>
#include <cerrno>
#include <fstream>

namespace {

constexpr uint32_t limit_ms = 30000;
constexpr char interfacesFile[] = "/etc/network/interfaces";
constexpr char routeFile[] = "/proc/net/route";
constexpr char carrierFile[] = "/sys/class/net/eth0/carrier";
constexpr char macFile[] = "/sys/class/net/eth0/address";
constexpr char dhcpFile[] = "auto eth0\niface eth0 inet dhcp\n\nauto eth0:0\n";
constexpr char staticFile[] = "auto eth0\niface eth0 inet static\n    address 192.168.1.40\n"
                              "    netmask 255.255.255.0\n\nauto eth0:0\n";
constexpr char restartCommand[] = "/etc/init.d/network restart";

/// The LAN dialogs of an instrument that runs with 192.168.1.40.
class EthernetDialog : public Screens {
protected:
    static void SetUpTestSuite() {
        Menus_build();
    }
    void SetUp() override {
        Screens::SetUp();
        setAddresses("eth0 192.168.1.40 255.255.255.0\neth0:0 10.1.2.3 255.0.0.0\n");
        World_writeFile(routeFile, "eth0\t00000000\t0101A8C0\n");
        World_writeFile(interfacesFile, dhcpFile);
        World_clearCommands();
        World_clearSyslog();
        Gui_showScreen(gtkSensorSingleChannel1);
    }
    void TearDown() override {
        gtk_init_done = true;
        EXPECT_TRUE(Gui_waitUntil([] { return ethDialogs.ethProgress == nullptr; }, limit_ms));
        if (ethDialogs.ethSettingsDialog != nullptr) {
            Gui_tap("ethSettingsDialog_cancel");
        }
        if (ethDialogs.ethInfoDialog != nullptr) {
            Gui_tap("ethInfoDialog_ok");
        }
        EXPECT_EQ(ethConfig, nullptr);
        World_removeFile(interfacesFile);
        World_removeFile(routeFile);
    }
    static void setAddresses(const char* lines) {
        std::ofstream(World_folder() + "/" + WorldFile::addresses, std::ios::trunc) << lines;
    }
    static void openSettings() {
        Gui_tap("ethernetButton");
        ASSERT_NE(Dialog_shown("ethInfoDialog"), nullptr);
        Gui_tap("ethInfoDialog_configure");
        ASSERT_NE(Dialog_shown("ethSettingsDialog"), nullptr);
        EXPECT_EQ(Dialog_shown("ethInfoDialog"), nullptr);
    }
    /// Taps the keypad's keys.
    static void type(const std::string& text) {
        for (const char key : text) {
            Gui_tap(key == '.' ? "numKeypadButtonPeriod" : std::string("numKeypadButton") + key);
        }
    }
    static void enter(const char* entry, const std::string& text) {
        Gui_tap(entry);
        Gui_tap("numKeypadButtonClear");
        type(text);
        EXPECT_EQ(Gui_text(entry), text);
    }
    static bool isSensitive(const char* name) {
        return gtk_widget_get_sensitive(Gui_widget(name)) != FALSE;
    }
    /// The entries whose frame says that they were refused.
    static std::string framed() {
        std::string names;
        for (const char* name : {"Address", "Netmask", "Gateway"}) {
            const std::string entry = std::string("ethSettingsEntry") + name;
            if (Look_hasRedFrame(Gui_widget(entry))) {
                names += std::string(name) + " ";
            }
        }
        return names;
    }
    static size_t restarts() {
        return static_cast<size_t>(std::ranges::count(World_commands(), restartCommand));
    }
    static bool becomes(const std::string& name, const std::string& text) {
        return Gui_waitUntil([&] { return Gui_text(name) == text; }, limit_ms);
    }
    static bool isFinished() {
        return Gui_waitUntil([] { return ethConfig == nullptr; }, limit_ms);
    }
};

} // namespace

TEST_F(EthernetDialog, InformationShowsBothRunningAddresses) {
    Gui_tap("ethernetButton");
    ASSERT_NE(Dialog_shown("ethInfoDialog"), nullptr);
    EXPECT_EQ(Gui_text("ethInfoLabelIP1"), "IP Addr");
    EXPECT_EQ(Gui_text("ethInfoLabelIP2"), "IP Addr\n(Fixed)");
    EXPECT_EQ(Gui_text("ethInfoLabelStaticIP1"), "192.168.1.40");
    EXPECT_EQ(Gui_text("ethInfoLabelStaticIP2"), "10.1.2.3");
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(Gui_widget("ethernetButton"))),
                 "Ethernet button");
    Dialog_expectTouchable("ethInfoDialog",
                           {"ethInfoDialog_ok", "ethInfoDialog_configure", "ethernetButton"});
    Dialog_keepPicture("lan-information");
    Gui_tap("ethInfoDialog_ok");
    EXPECT_EQ(Dialog_shown("ethInfoDialog"), nullptr);
    EXPECT_EQ(ethConfig, nullptr);
}

TEST_F(EthernetDialog, InformationFollowsHowTheInterfaceRunsWithoutMoving) {
    World_writeFile(carrierFile, "1\n");
    World_writeFile(macFile, "02:88:30:00:00:01\n");
    Gui_tap("ethernetButton");
    EXPECT_EQ(Gui_text("ethInfoMethod"), "DHCP");
    EXPECT_EQ(Gui_text("ethInfoNetmask"), "255.255.255.0");
    EXPECT_EQ(Gui_text("ethInfoGateway"), "192.168.1.1");
    EXPECT_EQ(Gui_text("ethInfoMac"), "02:88:30:00:00:01");
    EXPECT_EQ(Gui_text("ethInfoLink"), "up");
    const GdkRectangle place = Gui_place(Dialog_shown("ethInfoDialog"));
    World_writeFile(carrierFile, "0\n");
    World_writeFile(interfacesFile, staticFile);
    setAddresses("eth0 255.255.255.255 255.255.255.255\n");
    EXPECT_TRUE(becomes("ethInfoLink", "down"));
    EXPECT_TRUE(becomes("ethInfoMethod", "Static"));
    EXPECT_TRUE(becomes("ethInfoLabelStaticIP1", "255.255.255.255"));
    EXPECT_TRUE(becomes("ethInfoLabelStaticIP2", "---"));
    Look_expectShown(Dialog_shown("ethInfoDialog"));
    World_removeFile(carrierFile);
    World_removeFile(macFile);
    World_removeFile(interfacesFile);
    World_removeFile(routeFile);
    setAddresses("lo\n");
    for (const char* name : {"ethInfoLink", "ethInfoMac", "ethInfoMethod", "ethInfoLabelStaticIP1",
                             "ethInfoNetmask", "ethInfoGateway"}) {
        EXPECT_TRUE(becomes(name, "---")) << name;
    }
    const GdkRectangle placeThen = Gui_place(Dialog_shown("ethInfoDialog"));
    EXPECT_TRUE(gdk_rectangle_equal(&place, &placeThen));
}

TEST_F(EthernetDialog, MenuItemsOpenTheSameDialogs) {
    Gui_tap("menuButton");
    ASSERT_TRUE(Gui_isShown("menuLan"));
    Look_expectMenu(gtk_widget_get_toplevel(Gui_widget("menuLan")));
    Dialog_keepPicture("menu");
    Gui_tap("menuLan");
    EXPECT_NE(Dialog_shown("ethInfoDialog"), nullptr);
    Gui_tap("ethInfoDialog_ok");
    Gui_tap("menuButton");
    Gui_tap("menuSerial");
    EXPECT_NE(serConfig, nullptr);
    Gui_tap("serSettingsDialog_cancel");
    gtk_init_done = false;
    Gui_tap("menuButton");
    EXPECT_FALSE(Gui_isShown("menuLan"));
}

TEST_F(EthernetDialog, SettingsShowTheRunningValuesAndLetOnlyStaticOnesBeEdited) {
    openSettings();
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "192.168.1.40");
    EXPECT_EQ(Gui_text("ethSettingsEntryNetmask"), "255.255.255.0");
    EXPECT_EQ(Gui_text("ethSettingsEntryGateway"), "192.168.1.1");
    EXPECT_FALSE(isSensitive("ethSettingsEntryAddress"));
    EXPECT_FALSE(ethernetKeypad.isNumpadDisplayed);
    Gui_tap("ethSettingsEntryAddress");
    EXPECT_FALSE(ethernetKeypad.isNumpadDisplayed);
    Gui_tap("ethSettingsRadioButton2");
    EXPECT_TRUE(isSensitive("ethSettingsEntryAddress"));
    Gui_tap("ethSettingsEntryNetmask");
    EXPECT_TRUE(ethernetKeypad.isNumpadDisplayed);
    EXPECT_EQ(ethernetKeypad.entryIndex, 1);
    Dialog_expectTouchable("ethSettingsDialog",
                           {"ethSettingsRadioButton1", "ethSettingsRadioButton2",
                            "ethSettingsEntryAddress", "ethSettingsEntryNetmask",
                            "ethSettingsEntryGateway", "ethSettingsDialog_apply",
                            "ethSettingsDialog_cancel", "numKeypadButton0", "numKeypadButton9",
                            "numKeypadButtonPeriod", "numKeypadButtonClear",
                            "numKeypadButtonBackspace", "numKeypadButtonNext"});
    Dialog_keepPicture("lan-settings");
    Gui_tap("ethSettingsRadioButton1");
    EXPECT_FALSE(isSensitive("ethSettingsEntryAddress"));
    EXPECT_FALSE(ethernetKeypad.isNumpadDisplayed);
}

TEST_F(EthernetDialog, SettingsShowAStaticConfiguration) {
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    EXPECT_TRUE(
        gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(Gui_widget("ethSettingsRadioButton2"))));
    EXPECT_TRUE(isSensitive("ethSettingsEntryGateway"));
}

TEST_F(EthernetDialog, LooksAsAllDialogsDo) {
    World_writeFile(interfacesFile, staticFile);
    Gui_tap("ethernetButton");
    Look_expectShown(Dialog_shown("ethInfoDialog"));
    Look_expectLastKeys("ethInfoDialog_configure", "ethInfoDialog_ok");
    Look_expectOneBaseLine("ethInfoLabelIP1", "ethInfoLabelStaticIP1");
    Look_expectOneBaseLine("ethInfoLabelIP2", "ethInfoLabelStaticIP2");
    for (const std::string line : {"Method", "Netmask", "Gateway", "Mac", "Link"}) {
        Look_expectOneBaseLine("ethInfoLabel" + line, "ethInfo" + line);
    }
    Gui_tap("ethInfoDialog_configure");
    Look_expectShown(Dialog_shown("ethSettingsDialog"));
    Look_expectLastKeys("ethSettingsDialog_cancel", "ethSettingsDialog_apply");
    Look_expectKeypad(
        Look_keypadOf("numKeypadButton", {"", "Period", "Clear", "Backspace", "Next"}));
}

TEST_F(EthernetDialog, TheFirstEntryThatAnswersHasTheKeypad) {
    openSettings();
    EXPECT_FALSE(gtk_widget_is_sensitive(Gui_widget("numKeypadButton1"))) << "nothing to write to";
    Gui_tap("ethSettingsRadioButton2");
    EXPECT_TRUE(gtk_widget_is_sensitive(Gui_widget("numKeypadButton1")));
    EXPECT_EQ(ethernetKeypad.entryIndex, 0);
    type("7");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "7");
    Gui_tap("ethSettingsDialog_cancel");
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    type("8");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "8") << "as it opens";
}

TEST_F(EthernetDialog, KeypadEditsAtTheCursorAndReplacesASelection) {
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    Gui_tap("ethSettingsEntryAddress");
    EXPECT_TRUE(ethernetKeypad.textIsSelected);
    type("7");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "7") << "the selection is replaced";
    EXPECT_FALSE(ethernetKeypad.textIsSelected);
    type(".89");
    EXPECT_EQ(ethernetKeypad.position, 4);
    EXPECT_EQ(ethernetKeypad.len, 4);
    gtk_editable_set_position(GTK_EDITABLE(Gui_widget("ethSettingsEntryAddress")), 1);
    type("65");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "765.89");
    Gui_tap("numKeypadButtonBackspace");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "76.89");
    Gui_tap("numKeypadButtonClear");
    Gui_tap("numKeypadButtonBackspace");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "");
    type("1234567890123456");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "123456789012345") << "15 characters fit";
    Gui_tap("numKeypadButtonClear");
    type("1.2.3.4.5");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "1.2.3.45") << "an address has three points";
}

TEST_F(EthernetDialog, KeypadFollowsWhatTouchAndKeyboardDoToTheEntry) {
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    Gui_tap("ethSettingsEntryAddress");
    GtkEditable* entry = GTK_EDITABLE(Gui_widget("ethSettingsEntryAddress"));
    gtk_editable_select_region(entry, 12, 12); // the second touch puts a cursor
    type("1");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "192.168.1.401");
    gtk_entry_set_text(GTK_ENTRY(entry), "10.0.0.9");
    gtk_editable_set_position(entry, -1);
    type("8");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "10.0.0.98");
    gtk_editable_select_region(entry, 2, 5); // drawn over by a finger
    type("3");
    EXPECT_EQ(Gui_text("ethSettingsEntryAddress"), "3") << "a selection is the whole text";
}

TEST_F(EthernetDialog, NextGoesRoundTheThreeEntries) {
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    Gui_tap("ethSettingsEntryAddress");
    for (const int index : {1, 2, 0, 1}) {
        Gui_tap("numKeypadButtonNext");
        EXPECT_EQ(ethernetKeypad.entryIndex, index);
        EXPECT_EQ(ethernetKeypad.currentNumPadTarget,
                  ethernetKeypad.entryList[static_cast<size_t>(index)]);
        EXPECT_TRUE(ethernetKeypad.textIsSelected);
    }
}

TEST_F(EthernetDialog, InvalidEntryGetsTheKeypadAndNothingIsApplied) {
    struct Case {
        const char* entry;
        const char* text;
        int index;
    };
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    for (const Case& row :
         {Case{"ethSettingsEntryAddress", "192.168.1.256", 0},
          Case{"ethSettingsEntryAddress", "192.168.1", 0}, Case{"ethSettingsEntryAddress", "", 0},
          Case{"ethSettingsEntryNetmask", "255.255.0.255", 1},
          Case{"ethSettingsEntryNetmask", "0.0.0.0", 1},
          Case{"ethSettingsEntryGateway", "1.2.3", 2}}) {
        enter("ethSettingsEntryAddress", "10.0.0.7");
        enter("ethSettingsEntryNetmask", "255.0.0.0");
        enter("ethSettingsEntryGateway", "");
        enter(row.entry, row.text);
        EthernetKeypad_setTarget(nullptr);
        Gui_tap("ethSettingsDialog_apply");
        ASSERT_NE(Dialog_shown("ethSettingsDialog"), nullptr) << row.text;
        EXPECT_TRUE(ethernetKeypad.isNumpadDisplayed);
        EXPECT_EQ(ethernetKeypad.entryIndex, row.index) << row.text;
        EXPECT_EQ(gtk_window_get_focus(GTK_WINDOW(Dialog_shown("ethSettingsDialog"))),
                  Gui_widget(row.entry));
        EXPECT_EQ(World_readFile(interfacesFile), staticFile) << row.text;
        EXPECT_EQ(restarts(), 0U);
    }
}

TEST_F(EthernetDialog, RefusedEntriesAreFramedAndToldUntilTheyAreChanged) {
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    enter("ethSettingsEntryAddress", "192.168.1");
    enter("ethSettingsEntryNetmask", "255.0.255.0");
    EXPECT_EQ(framed(), "");
    EXPECT_EQ(Gui_text("ethSettingsProblem"), "");
    const GdkRectangle place = Gui_place(Dialog_shown("ethSettingsDialog"));
    Gui_tap("ethSettingsDialog_apply");
    EXPECT_EQ(framed(), "Address Netmask ");
    EXPECT_EQ(Gui_text("ethSettingsProblem"),
              "Address: four numbers from 0 to 255, as in 192.168.1.40");
    EXPECT_GE(Gui_contrast(Gui_widget("ethSettingsProblem")), 4.5);
    const GdkRectangle placeThen = Gui_place(Dialog_shown("ethSettingsDialog"));
    EXPECT_EQ(placeThen.height, place.height) << "nothing moves";
    EXPECT_EQ(placeThen.width, place.width);
    Dialog_expectTouchable("ethSettingsDialog",
                           {"ethSettingsDialog_apply", "ethSettingsDialog_cancel"});
    Look_expectShown(Dialog_shown("ethSettingsDialog"));
    Dialog_keepPicture("lan-refused");
    Gui_tap("ethSettingsEntryGateway");
    EXPECT_EQ(framed(), "Address Netmask ") << "a touch alone changes nothing";
    enter("ethSettingsEntryAddress", "192.168.1.7");
    EXPECT_EQ(framed(), "Netmask ");
    EXPECT_EQ(Gui_text("ethSettingsProblem"),
              "Netmask: only ones, then only zeros, as in 255.255.255.0");
    Gui_tap("ethSettingsRadioButton1");
    EXPECT_EQ(framed(), "") << "with DHCP they mean nothing";
    EXPECT_EQ(Gui_text("ethSettingsProblem"), "");
}

TEST_F(EthernetDialog, AStaticAddressThatIsMissingIsTold) {
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    enter("ethSettingsEntryAddress", "");
    enter("ethSettingsEntryGateway", "1.2.3");
    Gui_tap("ethSettingsDialog_apply");
    EXPECT_EQ(framed(), "Gateway ");
    EXPECT_EQ(Gui_text("ethSettingsProblem"),
              "Gateway: four numbers from 0 to 255, as in 192.168.1.1");
    enter("ethSettingsEntryGateway", "1.2.3.4");
    Gui_tap("ethSettingsDialog_apply");
    EXPECT_EQ(framed(), "Address ");
    EXPECT_EQ(Gui_text("ethSettingsProblem"), "Address: a static configuration needs one");
    Gui_tap("ethSettingsDialog_cancel");
    openSettings();
    EXPECT_EQ(framed(), "") << "a new dialog begins anew";
}

TEST_F(EthernetDialog, ApplyWritesTheStaticStanzaAndRestartsNetworkingOnce) {
    openSettings();
    Gui_tap("ethSettingsRadioButton2");
    enter("ethSettingsEntryAddress", "10.0.0.7");
    enter("ethSettingsEntryNetmask", "");
    enter("ethSettingsEntryGateway", "10.0.0.1");
    World_setSpeed(0.1); // what is shown meanwhile stays for some seconds only
    Gui_tap("ethSettingsDialog_apply");
    EXPECT_EQ(Dialog_shown("ethSettingsDialog"), nullptr);
    EXPECT_NE(Dialog_shown("ethProgress"), nullptr) << "something is going on";
    Dialog_keepPicture("lan-applying");
    Gui_tap("ethernetButton");
    EXPECT_EQ(Dialog_shown("ethInfoDialog"), nullptr);
    World_setSpeed(20);
    EXPECT_TRUE(isFinished());
    World_setSpeed(1);
    EXPECT_EQ(Dialog_shown("ethProgress"), nullptr);
    EXPECT_EQ(World_readFile(interfacesFile),
              "auto eth0\niface eth0 inet static\n    address 10.0.0.7\n"
              "    netmask 255.255.255.0\n    gateway 10.0.0.1\n\nauto eth0:0\n");
    EXPECT_EQ(restarts(), 1U);
}

TEST_F(EthernetDialog, StaticWithoutAnAddressAfterwardsRestartsNetworkingOnceMore) {
    openSettings();
    Gui_tap("ethSettingsRadioButton2");
    setAddresses("");
    Gui_tap("ethSettingsDialog_apply");
    World_setSpeed(20);
    EXPECT_TRUE(isFinished());
    World_setSpeed(1);
    EXPECT_EQ(restarts(), 2U);
}

TEST_F(EthernetDialog, ApplyWritesTheDhcpStanza) {
    World_writeFile(interfacesFile, staticFile);
    openSettings();
    Gui_tap("ethSettingsRadioButton1");
    Gui_tap("ethSettingsDialog_apply");
    EXPECT_TRUE(isFinished());
    EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
    EXPECT_EQ(restarts(), 1U);
}

TEST_F(EthernetDialog, CancelChangesNothing) {
    openSettings();
    Gui_tap("ethSettingsRadioButton2");
    enter("ethSettingsEntryAddress", "10.0.0.7");
    Gui_tap("ethSettingsDialog_cancel");
    EXPECT_EQ(Dialog_shown("ethSettingsDialog"), nullptr);
    EXPECT_EQ(ethConfig, nullptr);
    EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
    EXPECT_EQ(restarts(), 0U);
}

TEST_F(EthernetDialog, DoesNothingBeforeStartUpHasFinished) {
    gtk_init_done = false;
    Gui_tap("ethernetButton");
    EXPECT_EQ(Dialog_shown("ethInfoDialog"), nullptr);
    gtk_init_done = true;
    openSettings();
    gtk_init_done = false;
    Gui_tap("ethSettingsRadioButton2");
    EXPECT_FALSE(isSensitive("ethSettingsEntryAddress"));
    Gui_tap("ethSettingsDialog_apply");
    EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
    EXPECT_EQ(restarts(), 0U);
}

TEST_F(EthernetDialog, TellsWhenAnInterfaceFileIsMissing) {
    {
        const WithoutResources elsewhere;
        EthernetInfoDialog_Create();
        EXPECT_TRUE(World_syslogContains("Error loading file: "));
        EXPECT_EQ(ethConfig, nullptr);
    }
    EthernetInfoDialog_Create();
    Gui_settle();
    World_clearSyslog();
    const WithoutResources elsewhere;
    EthernetSettingsDialog_Create();
    EXPECT_TRUE(World_syslogContains("Error loading file: "));
    EXPECT_EQ(ethDialogs.ethSettingsDialog, nullptr);
    EXPECT_EQ(ethConfig, nullptr);
}

TEST_F(EthernetDialog, BrokenInterfaceFilesOpenNothing) {
    for (const char* content : brokenInterfaces) {
        {
            const WithResource broken("ethInfoDialog.ui", content);
            World_clearSyslog();
            EthernetInfoDialog_Create();
            EXPECT_TRUE(isBrokenInterfaceTold()) << content;
            EXPECT_EQ(ethDialogs.ethInfoDialog, nullptr);
        }
        EthernetInfoDialog_Create();
        ASSERT_NE(ethDialogs.ethInfoDialog, nullptr);
        const WithResource broken("ethSettingsDialog.ui", content);
        World_clearSyslog();
        EthernetSettingsDialog_Create();
        EXPECT_TRUE(isBrokenInterfaceTold()) << content;
        EXPECT_EQ(ethDialogs.ethSettingsDialog, nullptr);
        EXPECT_EQ(ethConfig, nullptr);
    }
}

TEST_F(EthernetDialog, GoesOnWithoutThePicturesOfItsKeys) {
    const WithResource broken("graphKeypadNext.png", "no picture");
    World_writeFile(interfacesFile, staticFile);
    EthernetInfoDialog_Create();
    EthernetSettingsDialog_Create();
    EXPECT_TRUE(World_syslogContains("Cannot read ./resources/graphKeypadNext.png: "));
    Gui_settle();
    Gui_tap("ethSettingsEntryAddress");
    Gui_tap("numKeypadButtonNext");
    EXPECT_EQ(ethernetKeypad.entryIndex, 1);
}

TEST_F(EthernetDialog, ARestartThatCannotBeStartedIsToldAndForgotten) {
    openSettings();
    WrappedCalls_fail(Call::threadCreate, EAGAIN);
    Gui_tap("ethSettingsDialog_apply");
    WrappedCalls_reset();
    EXPECT_TRUE(World_syslogContains("Failed to start the thread that restarts networking."));
    EXPECT_EQ(ethDialogs.ethProgress, nullptr);
    EXPECT_EQ(ethConfig, nullptr);
    EXPECT_EQ(restarts(), 0U);
    openSettings();
}

TEST_F(EthernetDialog, WithoutMemoryTheAddressesAreShownButNotEdited) {
    WrappedCalls_fail(Call::allocateMemory, ENOMEM);
    Gui_tap("ethernetButton");
    WrappedCalls_reset();
    EXPECT_TRUE(World_syslogContains("initEthConfig: ethConfig malloc failed"));
    EXPECT_EQ(Gui_text("ethInfoLabelStaticIP1"), "192.168.1.40");
    Gui_tap("ethInfoDialog_configure");
    EXPECT_EQ(ethDialogs.ethSettingsDialog, nullptr);
    EXPECT_EQ(ethDialogs.ethInfoDialog, nullptr);
}
