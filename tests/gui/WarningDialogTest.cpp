#include "WarningDialog.h"

#include "AppFlags.h"
#include "GuiHarness.h"

#include <gtest/gtest.h>

#include <string>

namespace {

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

TEST_F(Warning, OkButtonIsLargeEnoughForAFinger) {
    WarningDialog_show(&warning);
    pass();
    const GdkRectangle place = Gui_place(Gui_widget("warningDialog.ok"));
    EXPECT_GE(place.width, 48);
    EXPECT_GE(place.height, 48);
}

TEST_F(Warning, DialogThatComesLaterGoesBelowAndKeepsNoTouchFromIt) {
    WarningDialog_show(&warning);
    pass();
    GtkWidget* later = gtk_dialog_new();
    gtk_window_set_modal(GTK_WINDOW(later), TRUE);
    gtk_window_set_default_size(GTK_WINDOW(later), 1024, 768);
    gtk_widget_show_all(later);
    Gui_settle();
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
