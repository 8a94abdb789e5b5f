#include "About.h"

#include "AboutHandler.h"
#include "DialogFixture.h"
#include "InstrumentIdentity.h"
#include "LookChecks.h"
#include "MenuFixture.h"
#include "WrappedCalls.h"
#include "XServer.h"

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

/// A viewer's widgets have the same names but for these letters.
struct ViewerCase {
    const char* letters;
    const char* file;
    void (*open)();
};

constexpr ViewerCase viewers[] = {
    {"Reg", "./resources/regulatory.txt", aboutDialogRegulatory_Create},
    {"Lic", "./resources/license.txt", aboutDialogLicense_Create}};

std::string partOf(const ViewerCase& viewer, const char* part) {
    return std::string("aboutDialog") + viewer.letters + part;
}

GtkTextBuffer* bufferOf(const ViewerCase& viewer) {
    return gtk_text_view_get_buffer(GTK_TEXT_VIEW(Gui_widget(partOf(viewer, "Textview"))));
}

/// The text of the page that is shown.
std::string shownText(const ViewerCase& viewer) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(bufferOf(viewer), &start, &end);
    gchar* text = gtk_text_buffer_get_text(bufferOf(viewer), &start, &end, FALSE);
    std::string result = text;
    g_free(text);
    return result;
}

bool answers(const ViewerCase& viewer, const char* key) {
    return gtk_widget_is_sensitive(Gui_widget(partOf(viewer, key))) != 0;
}

/// The page's last line, which the text's characters so far end with, stands whole in the frame.
void expectWholeLines(const ViewerCase& viewer, size_t characters, bool isLast) {
    constexpr int twoLines_px = 60;
    Gui_settle();
    GtkTextView* view = GTK_TEXT_VIEW(Gui_widget(partOf(viewer, "Textview")));
    GtkTextIter end;
    gtk_text_buffer_get_iter_at_offset(bufferOf(viewer), &end, static_cast<int>(characters) - 1);
    GdkRectangle place;
    gtk_text_view_get_iter_location(view, &end, &place);
    const int bottom = place.y + place.height + gtk_text_view_get_top_margin(view);
    const int room = Gui_place(Gui_widget(partOf(viewer, "ScrolledWindow"))).height;
    EXPECT_LE(bottom, room);
    EXPECT_TRUE(isLast || bottom > room - twoLines_px) << "half a page";
}

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
    Look_expectShown(Dialog_shown("aboutDialog"));
    Look_expectLastKeys("aboutDialog_license", "aboutDialog_ok");
    Look_expectOneBaseLine("aboutDialogLabelModel", "aboutDialogLabelModelStr");
    Look_expectOneBaseLine("aboutDialogLabelFwRev", "aboutDialogLabelFwRevStr");
    Dialog_keepPicture("about");
    Gui_tap("aboutDialog_ok");
    EXPECT_EQ(Dialog_shown("aboutDialog"), nullptr);
    EXPECT_EQ(about->aboutDialog_ok, nullptr);
}

TEST_F(About, TheLongestTextsStandWholeOnTheScreen) {
    World_writeFile(identityFile, "modelNumber " + std::string(20, 'W') + "\nserialNumber " +
                                      std::string(20, 'W') + "\n");
    World_writeFile(buildFile, "BUILD_DATE=2024-10-10T18:59:38\n"
                               "BUILD_UUID=8830b3c4-3d0e-4f5a-9b1c-26a7c0ffee30\n");
    InstrumentIdentity_read();
    aboutDialog_Create();
    Look_expectShown(Dialog_shown("aboutDialog"));
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
                           {"aboutDialogReg_license", "aboutDialogReg_ok",
                            "aboutDialogReg_previous", "aboutDialogReg_next"});
    Dialog_keepPicture("regulatory");
    Gui_tap("aboutDialogReg_license");
    EXPECT_EQ(Dialog_shown("aboutDialogRegulatory"), nullptr);
    ASSERT_NE(Dialog_shown("aboutDialogLicense"), nullptr);
    EXPECT_EQ(Gui_textOf(about->aboutDialogLicTextbuffer), resource("./resources/license.txt"));
    Dialog_expectTouchable("aboutDialogLicense",
                           {"aboutDialogLic_regulatory", "aboutDialogLic_ok",
                            "aboutDialogLic_previous", "aboutDialogLic_next"});
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

TEST_F(About, ViewersAreReadPageByPage) {
    for (const ViewerCase& viewer : viewers) {
        viewer.open();
        std::string read = shownText(viewer);
        EXPECT_FALSE(answers(viewer, "_previous"));
        const std::string first = Gui_text(partOf(viewer, "_page"));
        ASSERT_EQ(first.rfind("Page 1 of ", 0), 0U) << first;
        const std::string count = first.substr(strlen("Page 1 of "));
        int page = 1;
        GtkWidget* window = gtk_widget_get_toplevel(Gui_widget(partOf(viewer, "_next")));
        Look_expectShown(window);
        while (answers(viewer, "_next")) {
            expectWholeLines(viewer, read.size(), false);
            Gui_tap(partOf(viewer, "_next"));
            ++page;
            EXPECT_EQ(Gui_text(partOf(viewer, "_page")),
                      "Page " + std::to_string(page) + " of " + count);
            read += shownText(viewer);
        }
        expectWholeLines(viewer, read.size(), true);
        EXPECT_EQ(std::to_string(page), count);
        EXPECT_GT(page, 1) << viewer.letters;
        EXPECT_EQ(read, resource(viewer.file));
        Gui_tap(partOf(viewer, "_previous"));
        EXPECT_EQ(Gui_text(partOf(viewer, "_page")),
                  "Page " + std::to_string(page - 1) + " of " + count);
    }
}

TEST_F(About, NothingInAViewerScrollsOrIsSelected) {
    constexpr int way_px = 200;
    constexpr double leastLetters_px = 20.0;
    for (const ViewerCase& viewer : viewers) {
        viewer.open();
        Gui_settle();
        GtkWidget* view = Gui_widget(partOf(viewer, "Textview"));
        GtkWidget* frame = Gui_widget(partOf(viewer, "ScrolledWindow"));
        const GdkRectangle place = Gui_place(frame);
        XServer_movePointer(place.x + place.width / 2, place.y + place.height / 2);
        XServer_button(true);
        Gui_settle();
        XServer_movePointer(place.x + place.width / 2 - way_px,
                            place.y + place.height / 2 - way_px);
        Gui_settle();
        Gui_release();
        EXPECT_FALSE(gtk_text_buffer_get_has_selection(bufferOf(viewer)));
        GtkAdjustment* way = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(frame));
        EXPECT_EQ(gtk_adjustment_get_value(way), 0.0);
        EXPECT_FALSE(
            gtk_widget_get_mapped(gtk_scrolled_window_get_vscrollbar(GTK_SCROLLED_WINDOW(frame))));
        double letters_px = 0.0;
        gtk_style_context_get(gtk_widget_get_style_context(view), GTK_STATE_FLAG_NORMAL,
                              "font-size", &letters_px, nullptr);
        EXPECT_GE(letters_px, leastLetters_px);
    }
}

TEST_F(About, PagesDoNotTurnBeforeStartUpHasFinished) {
    aboutDialogLicense_Create();
    Gui_tap("aboutDialogLic_next");
    const std::string second = shownText(viewers[1]);
    gtk_init_done = false;
    Gui_tap("aboutDialogLic_next");
    Gui_tap("aboutDialogLic_previous");
    EXPECT_EQ(shownText(viewers[1]), second);
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
