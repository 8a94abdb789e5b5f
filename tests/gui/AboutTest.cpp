#include "About.h"

#include "AboutHandler.h"
#include "DialogFixture.h"
#include "InstrumentIdentity.h"
#include "MenuFixture.h"
#include "WrappedCalls.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr char buildFile[] = "/usr/local/etc/defconfig/buildInstalled";
constexpr char identityFile[] = "/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf";

/// The dialogs of an instrument with the serial number 12345678.
class About : public Screens {
protected:
    static void SetUpTestSuite() {
        Menus_build();
    }
    void SetUp() override {
        Screens::SetUp();
        World_writeFile(identityFile, "modelNumber 8830K\nserialNumber 12345678\n");
        World_writeFile(buildFile, "BUILD_DATE=2024-10-10T18:59:38\n"
                                   "BUILD_UUID=0f3a-77\n");
        InstrumentIdentity_read();
        initAbout();
        Gui_showScreen(gtkSensorSingleChannel1);
        World_clearSyslog();
    }
    void TearDown() override {
        gtk_init_done = true;
        aboutDialog_Close();
        aboutDialogRegulatory_Close();
        aboutDialogLicense_Close();
        World_removeFile(identityFile);
        World_removeFile(buildFile);
        Gui_settle();
    }
    static std::string resource(const char* file) {
        gchar* text = nullptr;
        EXPECT_TRUE(g_file_get_contents(file, &text, nullptr, nullptr)) << file;
        std::string result = text != nullptr ? text : "";
        g_free(text);
        return result;
    }
};

} // namespace

TEST_F(About, ButtonOpensTheDialogWithIdentityAndVersion) {
    Gui_tap("aboutButton");
    ASSERT_NE(Dialog_shown("aboutDialog"), nullptr);
    EXPECT_EQ(Gui_text("aboutDialogLabelModelStr"), "8830K");
    EXPECT_EQ(Gui_text("aboutDialogLabelSerialStr"), "12345678");
    EXPECT_EQ(Gui_text("aboutDialogLabelFwRevStr"), "2024-10-10 18:59:38\n0f3a-77");
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(Gui_widget("aboutButton"))),
                 "About button");
    Dialog_expectTouchable("aboutDialog", {"aboutDialog_regulatory", "aboutDialog_license",
                                           "aboutDialog_ok", "aboutButton"});
    Dialog_keepPicture("about");
    Gui_tap("aboutDialog_ok");
    EXPECT_EQ(Dialog_shown("aboutDialog"), nullptr);
    EXPECT_EQ(about->aboutDialog_ok, nullptr);
}

TEST_F(About, VersionIsTwoWordsAndTheThirdOnItsOwnLine) {
    struct Case {
        const char* version;
        const char* text;
    };
    for (const Case& row : {Case{"2024-10-10 18:59:38  0f3a-77", "2024-10-10 18:59:38\n0f3a-77"},
                            Case{"unknown: Oct 10 2024 18:59:38", "unknown: Oct\n10"},
                            Case{"2024-10-10 18:59:38", "2024-10-10 18:59:38\n"},
                            Case{"one", "one \n"}, Case{"", " \n"}}) {
        char text[aboutVersionSize] = "";
        About_formatVersion(row.version, text);
        EXPECT_STREQ(text, row.text);
    }
}

TEST_F(About, LongVersionIsCut) {
    char text[aboutVersionSize] = "";
    About_formatVersion(std::string(400, 'x').c_str(), text);
    EXPECT_EQ(std::string(text), std::string(aboutVersionSize - 1, 'x'));
}

TEST_F(About, ViewersShowTheirTextsAndLeadToEachOther) {
    Gui_tap("aboutButton");
    Gui_tap("aboutDialog_regulatory");
    ASSERT_NE(Dialog_shown("aboutDialogRegulatory"), nullptr);
    EXPECT_EQ(Gui_textOf(about->aboutDialogRegTextbuffer), resource("./resources/regulatory.txt"));
    Dialog_expectTouchable("aboutDialogRegulatory",
                           {"aboutDialogReg_license", "aboutDialogReg_ok"});
    Dialog_keepPicture("regulatory");
    Gui_tap("aboutDialogReg_license");
    EXPECT_EQ(Dialog_shown("aboutDialogRegulatory"), nullptr);
    ASSERT_NE(Dialog_shown("aboutDialogLicense"), nullptr);
    EXPECT_EQ(Gui_textOf(about->aboutDialogLicTextbuffer), resource("./resources/license.txt"));
    Dialog_expectTouchable("aboutDialogLicense",
                           {"aboutDialogLic_regulatory", "aboutDialogLic_ok"});
    Dialog_keepPicture("licence");
    Gui_tap("aboutDialogLic_regulatory");
    EXPECT_EQ(Dialog_shown("aboutDialogLicense"), nullptr);
    ASSERT_NE(Dialog_shown("aboutDialogRegulatory"), nullptr);
    Gui_tap("aboutDialogReg_ok");
    EXPECT_EQ(Dialog_shown("aboutDialogRegulatory"), nullptr);
    Gui_tap("aboutDialog_license");
    Gui_tap("aboutDialogLic_ok");
    EXPECT_EQ(Dialog_shown("aboutDialogLicense"), nullptr);
    EXPECT_NE(Dialog_shown("aboutDialog"), nullptr);
}

TEST_F(About, TextsNameEveryLibraryAndLeaveTheMakersPlaces) {
    const std::string licence = resource("./resources/license.txt");
    for (const char* name : {"GTK", "GLib", "Pango", "cairo", "Jansson", "GNU C Library",
                             "GNU LESSER GENERAL PUBLIC LICENSE"}) {
        EXPECT_THAT(licence, testing::HasSubstr(name));
    }
    EXPECT_THAT(resource("./resources/regulatory.txt"), testing::HasSubstr("[name and postal"));
}

TEST_F(About, ViewersStayEmptyWithADiagnosticWhenTheirTextsAreMissing) {
    struct Case {
        const char* file;
        void (*open)();
        GtkTextBuffer* ABOUTDIALOG_S::*buffer;
    };
    for (const auto& [file, open, buffer] : {Case{"regulatory.txt", aboutDialogRegulatory_Create,
                                                  &ABOUTDIALOG_S::aboutDialogRegTextbuffer},
                                             Case{"license.txt", aboutDialogLicense_Create,
                                                  &ABOUTDIALOG_S::aboutDialogLicTextbuffer}}) {
        // Never taken from the real folder: other tests read it at the same time.
        const WithResource elsewhere(file, "");
        ASSERT_TRUE(std::filesystem::remove(std::filesystem::path("resources") / file)) << file;
        World_clearSyslog();
        open();
        EXPECT_TRUE(World_syslogContains("g_file_get_contents() failed: ")) << file;
        ASSERT_NE(about->*buffer, nullptr);
        EXPECT_EQ(Gui_textOf(about->*buffer), "");
    }
}

TEST_F(About, TellsWhenAnInterfaceFileIsMissing) {
    const WithoutResources elsewhere;
    for (void (*open)() :
         {aboutDialog_Create, aboutDialogRegulatory_Create, aboutDialogLicense_Create}) {
        World_clearSyslog();
        open();
        EXPECT_TRUE(World_syslogContains("Error loading file: "));
    }
    EXPECT_EQ(about->aboutDialog, nullptr);
}

TEST_F(About, OpensNothingBeforeStartUpHasFinished) {
    gtk_init_done = false;
    Gui_tap("aboutButton");
    EXPECT_EQ(Dialog_shown("aboutDialog"), nullptr);
    gtk_init_done = true;
    aboutDialog_Create();
    Gui_settle();
    gtk_init_done = false;
    Gui_tap("aboutDialog_ok");
    EXPECT_NE(Dialog_shown("aboutDialog"), nullptr);
}

TEST_F(About, BrokenInterfaceFilesOpenNothing) {
    struct Case {
        const char* file;
        void (*open)();
        GtkWidget* ABOUTDIALOG_S::*dialog;
    };
    for (const auto& [file, open, dialog] :
         {Case{"aboutDialog.ui", aboutDialog_Create, &ABOUTDIALOG_S::aboutDialog},
          Case{"aboutDialogRegulatory.ui", aboutDialogRegulatory_Create,
               &ABOUTDIALOG_S::aboutDialogRegulatory},
          Case{"aboutDialogLicense.ui", aboutDialogLicense_Create,
               &ABOUTDIALOG_S::aboutDialogLicense}}) {
        // A dialog without its OK button could not be left.
        const std::string bare = std::string("<interface><object class=\"GtkWindow\" id=\"") +
                                 std::string(file, strcspn(file, ".")) + "\"/></interface>";
        for (const char* content :
             {brokenInterfaces[0], brokenInterfaces[1], brokenInterfaces[2], bare.c_str()}) {
            const WithResource broken(file, content);
            World_clearSyslog();
            open();
            EXPECT_TRUE(isBrokenInterfaceTold()) << file << " " << content;
            EXPECT_EQ(about->*dialog, nullptr) << file << " " << content;
        }
    }
}

TEST_F(About, WithoutMemoryTheProgramEndsWithADiagnostic) {
    EXPECT_EXIT(
        {
            about = nullptr;
            WrappedCalls_fail(Call::allocateMemory, ENOMEM);
            initAbout();
        },
        testing::ExitedWithCode(255), "");
    EXPECT_TRUE(World_syslogContains("initAbout: about malloc failed"));
}
