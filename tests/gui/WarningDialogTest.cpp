#include "WarningDialog.h"

#include "AppFlags.h"
#include "GuiHarness.h"
#include "LookChecks.h"
#include "ShutDownWarning.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// A dialog that fills the screen and keeps all touches to itself.
GtkWidget* openModalDialog() {
    GtkWidget* dialog = gtk_dialog_new();
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_window_set_default_size(GTK_WINDOW(dialog), 1024, 768);
    gtk_widget_show_all(dialog);
    Gui_settle();
    return dialog;
}

/// A warning on the real main window, not yet asked for.
class WarningDialogTest : public testing::Test {
protected:
    void SetUp() override {
        gtk_init_done = true;
        WarningDialog_create(&warning, GTK_WINDOW(entireScreen.mainWindow),
                             "Warning: first line.\r\nSecond line.");
    }
    void TearDown() override {
        WarningDialog_close(&warning);
        WarningDialog_handleState(&warning);
        Gui_settle();
    }

    void pass() {
        WarningDialog_handleState(&warning);
        Gui_settle();
    }
    bool isShown() const {
        return warning.dialog != nullptr && gtk_widget_get_mapped(warning.dialog);
    }

    WarningDialog warning{};
};

using Warning = WarningDialogTest;

} // namespace

TEST_F(Warning, IsPutUpByTheNextPassAndClosedByTheOneAfterItsEnd) {
    WarningDialog_show(&warning);
    EXPECT_FALSE(isShown()) << "only flags are set";
    pass();
    ASSERT_TRUE(isShown());
    WarningDialog_close(&warning);
    EXPECT_TRUE(isShown());
    pass();
    EXPECT_FALSE(isShown());
}

TEST_F(Warning, ShownAndClosedBeforeAPassShowsNothing) {
    WarningDialog_show(&warning);
    WarningDialog_close(&warning);
    pass();
    EXPECT_FALSE(isShown());
}

TEST_F(Warning, ClosedAndShownBeforeAPassIsShown) {
    WarningDialog_close(&warning);
    WarningDialog_show(&warning);
    pass();
    EXPECT_TRUE(isShown());
}

TEST_F(Warning, SecondRequestPutsUpNoSecondBox) {
    WarningDialog_show(&warning);
    pass();
    GtkWidget* first = warning.dialog;
    WarningDialog_show(&warning);
    pass();
    EXPECT_EQ(warning.dialog, first);
    WarningDialog_close(&warning);
    pass();
    EXPECT_FALSE(isShown());
}

TEST_F(Warning, OkClosesTheBox) {
    WarningDialog_show(&warning);
    pass();
    Gui_tap("warningDialog.ok");
    Gui_settle();
    EXPECT_FALSE(isShown());
    EXPECT_EQ(warning.dialog, nullptr);
}

TEST_F(Warning, OkDoesNothingBeforeStartUpHasFinished) {
    WarningDialog_show(&warning);
    pass();
    gtk_init_done = false;
    Gui_tap("warningDialog.ok");
    Gui_settle();
    EXPECT_TRUE(isShown());
    gtk_init_done = true;
}

TEST_F(Warning, LooksAsAllDialogsDo) {
    WarningDialog_show(&warning);
    pass();
    Look_expectShown(warning.dialog);
}

TEST_F(Warning, DialogThatComesLaterGoesBelowAndKeepsNoTouchFromIt) {
    WarningDialog_show(&warning);
    pass();
    GtkWidget* later = openModalDialog();
    pass();
    Gui_tap("warningDialog.ok");
    Gui_settle();
    EXPECT_FALSE(isShown());
    gtk_widget_destroy(later);
}

TEST_F(Warning, TextIsCutToWhatTheRecordHolds) {
    WarningDialog_create(&warning, GTK_WINDOW(entireScreen.mainWindow),
                         std::string(200, 'x').c_str());
    EXPECT_EQ(std::string(warning.message), std::string(99, 'x'));
}

TEST_F(Warning, WithoutAButtonStaysUntilItIsClosed) {
    WarningDialog_createWithoutButton(&warning, GTK_WINDOW(entireScreen.mainWindow), "aNotice",
                                      "Nothing can be done.");
    WarningDialog_show(&warning);
    pass();
    ASSERT_TRUE(isShown());
    EXPECT_STREQ(gtk_widget_get_name(warning.dialog), "aNotice");
    EXPECT_EQ(gtk_dialog_get_widget_for_response(GTK_DIALOG(warning.dialog), GTK_RESPONSE_OK),
              nullptr);
}

/// What the screen says about switching off, as each pass services it.
class SwitchingOffBox : public testing::Test {
protected:
    void SetUp() override {
        gtk_init_done = true;
        ShutDownWarning_create(GTK_WINDOW(entireScreen.mainWindow));
    }
    void TearDown() override {
        quit = false;
        WarningDialog_close(&switchingOffDlg);
        WarningDialog_close(&shutDownWarningDlg);
        pass();
    }
    static void pass() {
        ShutDownWarning_handleState();
        Gui_settle();
    }
    static bool isShown(const WarningDialog& box) {
        return box.dialog != nullptr && gtk_widget_get_mapped(box.dialog);
    }
};

TEST_F(SwitchingOffBox, IsPutUpOnceTheInstrumentIsBeingSwitchedOff) {
    pass();
    EXPECT_FALSE(isShown(switchingOffDlg));
    quit = true;
    pass();
    ASSERT_TRUE(isShown(switchingOffDlg));
    EXPECT_STREQ(switchingOffDlg.message, "Switching off...");
    Look_expectTold(switchingOffDlg.dialog);
    pass();
    EXPECT_TRUE(isShown(switchingOffDlg));
}

TEST_F(SwitchingOffBox, TakesThePlaceOfTheBoxThatAsksForPower) {
    WarningDialog_show(&shutDownWarningDlg);
    pass();
    ASSERT_TRUE(isShown(shutDownWarningDlg));
    Look_expectShown(shutDownWarningDlg.dialog);
    quit = true;
    pass();
    EXPECT_FALSE(isShown(shutDownWarningDlg));
    EXPECT_TRUE(isShown(switchingOffDlg));
    WarningDialog_show(&shutDownWarningDlg);
    pass();
    EXPECT_FALSE(isShown(shutDownWarningDlg)) << "it is too late for that";
}

TEST_F(SwitchingOffBox, StandsAboveADialogThatComesLater) {
    quit = true;
    pass();
    GtkWidget* later = openModalDialog();
    pass();
    EXPECT_EQ(gtk_grab_get_current(), switchingOffDlg.dialog);
    gtk_widget_destroy(later);
}
