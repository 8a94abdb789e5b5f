#include "GraphSettingsDialog.h"

#include "DialogFixture.h"
#include "GraphFixture.h"
#include "GraphSettingsUtilities.h"
#include "GtkHelpers.h"
#include "LookChecks.h"

#include <string>
#include <unistd.h>

namespace {

constexpr GtkSensorInstance full = gtkSensorSingleChannel1withGraph;
constexpr char settingsFile[] = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

const char* const powerEntryNames[] = {"graphSettingsRangeMin", "graphSettingsRangeMax",
                                       "graphSettingsLimitMin", "graphSettingsLimitMax"};

class GraphSettings : public GraphScreens {
protected:
    static void SetUpTestSuite() {
        if (!isCreated) {
            graphSettingsDialog_Create(GTK_WINDOW(entireScreen.mainWindow));
            isCreated = true;
        }
    }
    void TearDown() override {
        cancelButtonClicked(nullptr, nullptr);
        Gui_settle();
    }

    /// Opens the dialog with a tap on the axis title.
    static void open(GtkSensorInstance screen = full, const char* name = "singleGraph") {
        showAndUpdate(screen);
        Gui_tap(std::string(name) + ".graph.title");
        ASSERT_TRUE(Gui_isShown("graphSettingsDialog"));
    }
    /// Keys as characters: digits, '.', '-' for the sign, '<' backspace, 'C' clear, '>' next.
    static void type(const char* keys) {
        for (; *keys != '\0'; ++keys) {
            std::string key = "graphNumKeypadButton";
            switch (*keys) {
            case '.':
                key += "Period";
                break;
            case '-':
                key += "PlusMinus";
                break;
            case '<':
                key += "Backspace";
                break;
            case 'C':
                key += "Clear";
                break;
            case '>':
                key += "Next";
                break;
            default:
                key += *keys;
                break;
            }
            Gui_tap(key);
        }
    }
    static void enter(const char* entry, const char* keys) {
        Gui_tap(entry);
        type(keys);
    }
    static void apply() {
        Gui_tap("graphSettingsButton_apply");
    }
    static std::string fileLine(const char* key) {
        const std::string file = World_readFile(settingsFile);
        const size_t start = file.find(std::string(key) + " ");
        return start == std::string::npos ? "" : file.substr(start, file.find('\n', start) - start);
    }
    static bool isActive(const char* box) {
        return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(Gui_widget(box))) != 0;
    }
    static bool isSensitive(const std::string& name) {
        return gtk_widget_is_sensitive(Gui_widget(name)) != 0;
    }
    /// Of the text on a key.
    static std::string colourOfText(const std::string& button) {
        GtkWidget* label = gtk_bin_get_child(GTK_BIN(Gui_widget(button)));
        gtk_widget_set_name(label, (button + ".text").c_str());
        return Gui_colour(button + ".text");
    }
    /// The entries whose frame says that they were refused.
    static std::string refused() {
        return Look_refusedOf({powerEntryNames[0], powerEntryNames[1], powerEntryNames[2],
                               powerEntryNames[3], "graphSettingsAverageCount"});
    }
    static void expectGraphButtons(bool sensitive) {
        for (const char* button : {"title", "mode", "auto", "clear"}) {
            EXPECT_EQ(isSensitive(std::string("singleGraph.graph.") + button), sensitive) << button;
        }
    }
    static void setGraph(double min, double max, GraphScaleUnit_t unit) {
        GraphSettings_t settings = configuration_getGraphSettings(0);
        settings.unit = unit;
        settings.minPower = min;
        settings.maxPower = max;
        settings.minLimitLine = min;
        settings.maxLimitLine = max;
        configuration_setGraphSettings(settings, 0);
    }

private:
    static inline bool isCreated = false;
};

} // namespace

TEST_F(GraphSettings, EveryObjectOfTheDialogExists) {
    const char* const names[] = {"graphSettingsDialog",
                                 "graphSettingsHbox",
                                 "graphSettingsGrid",
                                 "graphSettingsLabelTitle",
                                 "graphSettingsLabelRange",
                                 "graphSettingsLabelRangeMin",
                                 "graphSettingsLabelRangeMax",
                                 "graphSettingsLabelRangeMinUnits",
                                 "graphSettingsLabelRangeMaxUnits",
                                 "graphSettingsRangeMin",
                                 "graphSettingsRangeMax",
                                 "graphSettingsLabelLimits",
                                 "graphSettingsLabelLimitsMin",
                                 "graphSettingsLabelLimitsMax",
                                 "graphSettingsLabelLimitsMinUnits",
                                 "graphSettingsLabelLimitsMaxUnits",
                                 "graphSettingsLimitMin",
                                 "graphSettingsLimitMax",
                                 "graphSettingsLabelMode",
                                 "graphSettingsCheckButtonRfl",
                                 "graphSettingsCheckButtonAverage",
                                 "graphSettingsLabelCount",
                                 "graphSettingsAverageCount",
                                 "graphSettingsButton_apply",
                                 "graphSettingsButton_cancel",
                                 "graphSettingsButton_default",
                                 "graphNumKeypadButtonPeriod",
                                 "graphNumKeypadButtonClear",
                                 "graphNumKeypadButtonBackspace",
                                 "graphNumKeypadButtonNext",
                                 "graphNumKeypadButtonPlusMinus",
                                 "graphNumKeypadImageClear",
                                 "graphNumKeypadImageBackspace",
                                 "graphNumKeypadImageNext"};
    open();
    for (char digit = '0'; digit <= '9'; ++digit) {
        EXPECT_TRUE(Gui_isShown(std::string("graphNumKeypadButton") + digit)) << digit;
    }
    for (const char* name : names) {
        EXPECT_NE(Gui_widget(name), nullptr) << name;
        EXPECT_TRUE(Gui_isShown(name)) << name;
    }
}

TEST_F(GraphSettings, AnInterfaceFileThatCannotServeIsLoggedAndTheDialogStaysAsItWas) {
    {
        const WithoutResources elsewhere;
        World_clearSyslog();
        graphSettingsDialog_Create(GTK_WINDOW(entireScreen.mainWindow));
        EXPECT_TRUE(World_syslogContains("Error loading file: "));
    }
    for (const char* content :
         {brokenInterfaces[0], brokenInterfaces[1], brokenInterfaces[2],
          R"(<interface><object class="GtkWindow" id="graphSettingsDialog"/></interface>)"}) {
        const WithResource broken("graphSettingsDialog.ui", content);
        World_clearSyslog();
        graphSettingsDialog_Create(GTK_WINDOW(entireScreen.mainWindow));
        EXPECT_TRUE(isBrokenInterfaceTold()) << content;
    }
    open();
}

TEST_F(GraphSettings, OpensOnTheScreenWithTargetsForAFinger) {
    open();
    const GdkRectangle dialog = Gui_place(Gui_widget("graphSettingsDialog"));
    EXPECT_GE(dialog.x, 0);
    EXPECT_GE(dialog.y, 0);
    EXPECT_LE(dialog.x + dialog.width, 1024);
    EXPECT_LE(dialog.y + dialog.height, 768);
    EXPECT_NEAR(dialog.x + dialog.width / 2.0, 512.0, 2.0);
    EXPECT_NEAR(dialog.y + dialog.height / 2.0, 384.0, 2.0);
    for (const char* entry : powerEntryNames) {
        EXPECT_GE(Gui_place(Gui_widget(entry)).height, 48);
        for (const char* key : {"graphNumKeypadButton7", "graphNumKeypadButtonNext"}) {
            const GdkRectangle keyPlace = Gui_place(Gui_widget(key));
            const GdkRectangle entryPlace = Gui_place(Gui_widget(entry));
            EXPECT_GE(keyPlace.width, 48);
            EXPECT_FALSE(gdk_rectangle_intersect(&keyPlace, &entryPlace, nullptr));
        }
    }
    EXPECT_TRUE(World_syslogContains("GraphSettingsDialog display latency: "));
}

TEST_F(GraphSettings, ShowsTheSettingsInTheUnitOfThePowerRange) {
    struct {
        uint32_t scale;
        const char* min;
        const char* max;
        const char* units;
    } const cases[] = {
        {2, "1500", "2500000", "mW"}, {4, "1.5", "2500", "W"}, {8, "0.0015", "2.5", "kW"}};
    setGraph(1500.0, 2500000.0, graphScale_mW);
    for (const auto& test : cases) {
        configuration_setRfPowerScale({.autoScale = false, .scaleIndex = test.scale}, 0, 0);
        open();
        EXPECT_EQ(Gui_text("graphSettingsRangeMin"), test.min);
        EXPECT_EQ(Gui_text("graphSettingsRangeMax"), test.max);
        EXPECT_EQ(Gui_text("graphSettingsLabelRangeMinUnits"), test.units);
        EXPECT_EQ(Gui_text("graphSettingsLabelLimitsMaxUnits"), test.units);
        EXPECT_EQ(Gui_text("graphSettingsAverageCount"), "64");
        EXPECT_FALSE(isActive("graphSettingsCheckButtonRfl"));
        EXPECT_FALSE(isSensitive("graphSettingsAverageCount"));
        Gui_tap("graphSettingsButton_cancel");
    }
}

TEST_F(GraphSettings, TheTitleNamesTheSensorByItsModelAndItsPort) {
    open();
    EXPECT_EQ(Gui_text("graphSettingsLabelTitle"), "Graph Settings\n5132 on Serial1");
    cancelButtonClicked(nullptr, nullptr);
    snprintf(sensorFakes[sensorPort_Serial1].model, sizeof sensorFakes[0].model,
             "WWWWWWWWWWWWWWWWWWWW");
    open();
    Look_expectShown(Gui_widget("graphSettingsDialog")); // also the longest one
}

TEST_F(GraphSettings, OpeningAndApplyingChangesNothing) {
    struct {
        double min;
        double max;
        GraphScaleUnit_t unit;
        bool isdBm;
        uint32_t scale;
    } const cases[] = {
        {1234.5678, 98765.4321, graphScale_mW, false, 9},
        {-0.5, 12.34567, graphScale_dBm, true, 4},
        {-59.999, 0.25, graphScale_dBm, true, 2},
        {0.0, 12999.0, graphScale_mW, false, 6},
    };
    for (const auto& test : cases) {
        configuration_setPowerUnitsIsdBm(test.isdBm);
        configuration_setRfPowerScale({.autoScale = false, .scaleIndex = test.scale}, 0, 0);
        setGraph(test.min, test.max, test.unit);
        open();
        apply();
        const GraphSettings_t settings = configuration_getGraphSettings(0);
        EXPECT_EQ(settings.minPower, test.min);
        EXPECT_EQ(settings.maxPower, test.max);
        EXPECT_EQ(settings.minLimitLine, test.min);
        EXPECT_EQ(settings.maxLimitLine, test.max);
        EXPECT_EQ(settings.unit, test.unit);
    }
    configuration_setPowerUnitsIsdBm(false);
}

TEST_F(GraphSettings, AValueBetweenMinusOneAndZeroShowsItsSign) {
    configuration_setPowerUnitsIsdBm(true);
    setGraph(-0.5, 10.0, graphScale_dBm);
    open();
    EXPECT_EQ(Gui_text("graphSettingsRangeMin"), "-0.5");
    EXPECT_EQ(Gui_text("graphSettingsLabelRangeMinUnits"), "dBm");
    enter("graphSettingsRangeMin", "-0.75>");
    EXPECT_EQ(Gui_text("graphSettingsRangeMin"), "0.75") << "the first digit replaces the sign";
    enter("graphSettingsRangeMin", "0.75->");
    EXPECT_EQ(Gui_text("graphSettingsRangeMin"), "-0.75");
}

TEST_F(GraphSettings, TypedValuesReachTheSettingsFile) {
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 5}, 0, 0);
    open();
    type("5>250>12.5>200>");
    Gui_tap("graphSettingsCheckButtonAverage");
    enter("graphSettingsAverageCount", "16");
    apply();
    EXPECT_FALSE(Gui_isShown("graphSettingsDialog"));
    EXPECT_EQ(fileLine("graphDisplayMinPower_ch1"), "graphDisplayMinPower_ch1 5000.000000");
    EXPECT_EQ(fileLine("graphDisplayMaxPower_ch1"), "graphDisplayMaxPower_ch1 250000.000000");
    EXPECT_EQ(fileLine("limitLineMin_ch1"), "limitLineMin_ch1 12500.000000");
    EXPECT_EQ(fileLine("limitLineMax_ch1"), "limitLineMax_ch1 200000.000000");
    EXPECT_EQ(fileLine("graphDisplayMode_ch1"), "graphDisplayMode_ch1 1");
    EXPECT_EQ(fileLine("graphAverageCount_ch1"), "graphAverageCount_ch1 16");
    EXPECT_EQ(fileLine("unit_ch1"), "unit_ch1 0");
    EXPECT_EQ(bufferOf(0).filterWidth, 16U);
    update(full);
    EXPECT_EQ(Gui_text("singleGraph.graph.yMax"), "250");
}

TEST_F(GraphSettings, DBmValuesAreStoredInDBm) {
    configuration_setPowerUnitsIsdBm(true);
    open();
    type("20->45>");
    apply();
    const GraphSettings_t settings = configuration_getGraphSettings(0);
    EXPECT_EQ(settings.minPower, -20.0);
    EXPECT_EQ(settings.maxPower, 45.0);
    EXPECT_EQ(settings.unit, graphScale_dBm);
}

TEST_F(GraphSettings, TheUnitOfTheRangeAtOpeningCounts) {
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 5}, 0, 0);
    open();
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 9}, 0, 0);
    enter("graphSettingsRangeMax", "50");
    apply();
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, 50000.0);
}

TEST_F(GraphSettings, AFirstKeyReplacesAndNextGoesRound) {
    setGraph(0.0, 100000.0, graphScale_mW);
    open();
    enter("graphSettingsRangeMax", "5");
    EXPECT_EQ(Gui_text("graphSettingsRangeMax"), "5");
    type(">7>8>9");
    EXPECT_EQ(Gui_text("graphSettingsLimitMin"), "7");
    EXPECT_EQ(Gui_text("graphSettingsLimitMax"), "8");
    EXPECT_EQ(Gui_text("graphSettingsRangeMin"), "9") << "the count does not answer: left out";
    Gui_tap("graphSettingsCheckButtonAverage");
    enter("graphSettingsLimitMax", ">32>4");
    EXPECT_EQ(Gui_text("graphSettingsAverageCount"), "32");
    EXPECT_EQ(Gui_text("graphSettingsRangeMin"), "4");
}

TEST_F(GraphSettings, EveryKeyOfTheKeypadEditsTheTouchedEntry) {
    open();
    enter("graphSettingsLimitMin", "1234567890.5");
    EXPECT_EQ(Gui_text("graphSettingsLimitMin"), "1234567890.5");
    type("<<<-");
    EXPECT_EQ(Gui_text("graphSettingsLimitMin"), "-123456789");
    type("C");
    EXPECT_EQ(Gui_text("graphSettingsLimitMin"), "");
    type("..");
    EXPECT_EQ(Gui_text("graphSettingsLimitMin"), ".");
}

TEST_F(GraphSettings, ValuesOutOfRangeAreClampedWhenTheEntryIsLeft) {
    struct {
        bool isdBm;
        const char* keys;
        const char* text;
    } const cases[] = {{false, "999999999>", "99999"},
                       {false, "5->", "0"},
                       {false, "12.25>", "12.25"},
                       {true, "99>", "80"},
                       {true, "99->", "-60"}};
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 6}, 0, 0);
    for (const auto& test : cases) {
        configuration_setPowerUnitsIsdBm(test.isdBm);
        open();
        enter("graphSettingsRangeMax", test.keys);
        EXPECT_EQ(Gui_text("graphSettingsRangeMax").substr(0, 5), test.text);
        Gui_tap("graphSettingsButton_cancel");
    }
}

TEST_F(GraphSettings, TheCountIsTakenAsTypedAndStoredClamped) {
    struct {
        const char* keys;
        uint32_t stored;
    } const cases[] = {{"1", 2}, {"100", 64}, {"99999999999999999999", 64}, {"33", 33}};
    for (const auto& test : cases) {
        open();
        if (!isActive("graphSettingsCheckButtonAverage")) {
            Gui_tap("graphSettingsCheckButtonAverage");
        }
        enter("graphSettingsAverageCount", test.keys);
        apply();
        EXPECT_EQ(configuration_getGraphSettings(0).averageCount, test.stored) << test.keys;
        EXPECT_EQ(bufferOf(0).filterWidth, test.stored) << test.keys;
    }
}

TEST_F(GraphSettings, TheCountAnswersOnlyWhileAveraging) {
    open();
    EXPECT_FALSE(isSensitive("graphSettingsAverageCount"));
    Gui_tap("graphSettingsCheckButtonAverage");
    EXPECT_TRUE(isSensitive("graphSettingsAverageCount"));
    Gui_tap("graphSettingsCheckButtonAverage");
    EXPECT_FALSE(isSensitive("graphSettingsAverageCount"));
}

TEST_F(GraphSettings, ACountThatDoesNotAnswerTakesNoKeys) {
    for (const char* switchedOffBy :
         {"graphSettingsCheckButtonAverage", "graphSettingsButton_default"}) {
        open();
        if (!isActive("graphSettingsCheckButtonAverage")) {
            Gui_tap("graphSettingsCheckButtonAverage");
        }
        enter("graphSettingsAverageCount", "16");
        Gui_tap(switchedOffBy);
        EXPECT_FALSE(isSensitive("graphSettingsAverageCount"));
        const std::string count = Gui_text("graphSettingsAverageCount");
        type("7");
        EXPECT_EQ(Gui_text("graphSettingsAverageCount"), count) << switchedOffBy;
        EXPECT_EQ(Gui_text("graphSettingsRangeMin"), "7") << "the keypad has turned to the next";
        apply();
        EXPECT_EQ(std::to_string(configuration_getGraphSettings(0).averageCount), count);
    }
}

TEST_F(GraphSettings, AnEmptyEntryIsRefusedAndTurnedTo) {
    const GraphSettings_t before = configuration_getGraphSettings(0);
    open();
    Gui_tap("graphSettingsCheckButtonAverage");
    for (const char* entry :
         {"graphSettingsRangeMin", "graphSettingsRangeMax", "graphSettingsLimitMin",
          "graphSettingsLimitMax", "graphSettingsAverageCount"}) {
        for (const char* keys : {"C", "C>", "C.", "C->"}) {
            enter(entry, keys);
            apply();
            ASSERT_TRUE(Gui_isShown("graphSettingsDialog")) << entry << " " << keys;
            EXPECT_EQ(gtk_window_get_focus(GTK_WINDOW(Gui_widget("graphSettingsDialog"))),
                      Gui_widget(entry))
                << keys;
            type("5");
            EXPECT_EQ(Gui_text(entry), "5") << keys << " is wholly selected";
        }
    }
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, before.maxPower);
    apply();
    EXPECT_FALSE(Gui_isShown("graphSettingsDialog"));
    EXPECT_EQ(configuration_getGraphSettings(0).averageCount, 5U);
}

TEST_F(GraphSettings, ARefusedEntryHasARedFrameUntilItIsChanged) {
    open();
    Gui_tap("graphSettingsCheckButtonAverage");
    enter("graphSettingsRangeMax", "C");
    enter("graphSettingsAverageCount", "C");
    const GdkRectangle place = Gui_place(Gui_widget("graphSettingsDialog"));
    EXPECT_EQ(refused(), "") << "not yet applied";
    apply();
    EXPECT_EQ(refused(), "graphSettingsRangeMax graphSettingsAverageCount ");
    EXPECT_EQ(Gui_text("graphSettingsProblem"), "A number is missing.");
    Look_expectShown(Gui_widget("graphSettingsDialog"));
    const GdkRectangle placeThen = Gui_place(Gui_widget("graphSettingsDialog"));
    EXPECT_TRUE(gdk_rectangle_equal(&place, &placeThen)) << "nothing moves";
    type("7");
    EXPECT_EQ(refused(), "graphSettingsAverageCount ");
    Gui_tap("graphSettingsCheckButtonAverage");
    EXPECT_EQ(refused(), "") << "it does not answer";
    EXPECT_EQ(Gui_text("graphSettingsProblem"), "");
    enter("graphSettingsRangeMax", "C");
    apply();
    EXPECT_EQ(refused(), "graphSettingsRangeMax ");
    Gui_tap("graphSettingsButton_cancel");
    open();
    EXPECT_EQ(refused(), "") << "a new dialog begins anew";
    EXPECT_EQ(Gui_text("graphSettingsProblem"), "");
}

TEST_F(GraphSettings, AnEmptyCountThatDoesNotAnswerChangesNothing) {
    const uint32_t before = configuration_getGraphSettings(0).averageCount;
    open();
    Gui_tap("graphSettingsCheckButtonAverage");
    enter("graphSettingsAverageCount", "C");
    Gui_tap("graphSettingsCheckButtonAverage");
    apply();
    EXPECT_FALSE(Gui_isShown("graphSettingsDialog"));
    EXPECT_EQ(configuration_getGraphSettings(0).averageCount, before);
}

TEST_F(GraphSettings, AChangeOfDirectionEmptiesTheBufferAndNothingElseDoes) {
    add(0, 20, quietCurve);
    open();
    apply();
    EXPECT_EQ(CGraphData_getCount(&bufferOf(0), RawData), 20U);
    open();
    Gui_tap("graphSettingsCheckButtonRfl");
    apply();
    EXPECT_EQ(CGraphData_getCount(&bufferOf(0), RawData), 0U);
    EXPECT_TRUE(configuration_getGraphRflMode(0));
    update(full);
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graphOf(full).graph.powerModeLabel)), "RFL");
}

TEST_F(GraphSettings, DefaultShowsTheSensorsLimitsAndStoresNothing) {
    sensorFakes[sensorPort_Serial1].minPower_W = 0.25F;
    sensorFakes[sensorPort_Serial1].maxPower_W = 500.0F;
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 6}, 0, 0);
    GraphSettings_t before = configuration_getGraphSettings(0);
    before.displayMode = graphModeAverage;
    before.averageCount = 8;
    configuration_setGraphSettings(before, 0);
    open();
    EXPECT_EQ(Gui_text("graphSettingsAverageCount"), "8");
    Gui_tap("graphSettingsButton_default");
    EXPECT_EQ(Gui_text("graphSettingsRangeMin"), "0.25");
    EXPECT_EQ(Gui_text("graphSettingsLimitMin"), "0.25");
    EXPECT_EQ(Gui_text("graphSettingsRangeMax"), "500");
    EXPECT_EQ(Gui_text("graphSettingsLimitMax"), "500");
    EXPECT_EQ(Gui_text("graphSettingsAverageCount"), "64");
    EXPECT_FALSE(isActive("graphSettingsCheckButtonAverage"));
    EXPECT_FALSE(isSensitive("graphSettingsAverageCount"));
    EXPECT_EQ(configuration_getGraphSettings(0).averageCount, 8U);
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, before.maxPower);
    apply();
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, 500000.0);
    EXPECT_EQ(configuration_getGraphSettings(0).minPower, 250.0);
}

TEST_F(GraphSettings, DefaultInDBmDividesByThousand) {
    configuration_setPowerUnitsIsdBm(true);
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 6}, 0, 0);
    sensorFakes[sensorPort_Serial1].maxPower_W = 25000.0F;
    open();
    Gui_tap("graphSettingsButton_default");
    EXPECT_EQ(Gui_text("graphSettingsRangeMax"), "25");
    EXPECT_EQ(Gui_text("graphSettingsLabelRangeMaxUnits"), "W");
}

TEST_F(GraphSettings, CancelStoresNothing) {
    const GraphSettings_t before = configuration_getGraphSettings(0);
    open();
    type("5>6");
    Gui_tap("graphSettingsCheckButtonRfl");
    Gui_tap("graphSettingsButton_cancel");
    EXPECT_FALSE(Gui_isShown("graphSettingsDialog"));
    EXPECT_EQ(configuration_getGraphSettings(0).minPower, before.minPower);
    EXPECT_FALSE(configuration_getGraphRflMode(0));
}

TEST_F(GraphSettings, LooksAsAllDialogsDoWithTheLongestNumbersToo) {
    setGraph(0.0, 99999999.0, graphScale_mW);
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 5}, 0, 0);
    open();
    EXPECT_EQ(Gui_text("graphSettingsRangeMax"), "99999.999");
    Look_expectShown(Gui_widget("graphSettingsDialog"));
    enter("graphSettingsLimitMin", "-12345678.901234");
    Look_expectShown(Gui_widget("graphSettingsDialog"));
    Look_expectLastKeys("graphSettingsButton_cancel", "graphSettingsButton_apply");
    Look_expectKeypad(Look_keypadOf("graphNumKeypadButton",
                                    {"PlusMinus", "Period", "Clear", "Backspace", "Next"}));
}

TEST_F(GraphSettings, TheGraphsButtonsRestWhileTheDialogIsOpen) {
    for (const char* button : {"graphSettingsButton_apply", "graphSettingsButton_cancel"}) {
        open();
        expectGraphButtons(false);
        Gui_tap(button);
        expectGraphButtons(true);
    }
    open();
    for (const char* button : {"title", "mode", "auto", "clear"}) {
        const std::string label = std::string("singleGraph.graph.") + button;
        EXPECT_EQ(colourOfText(label), "#6a6e72") << button;
    }
    gtk_window_close(GTK_WINDOW(Gui_widget("graphSettingsDialog")));
    Gui_settle();
    EXPECT_FALSE(Gui_isShown("graphSettingsDialog"));
    expectGraphButtons(true);
    EXPECT_EQ(colourOfText("singleGraph.graph.title"), "#ffd766");
}

TEST_F(GraphSettings, ReadingsAndChartGoOnBehindTheDialog) {
    add(0, 10, quietCurve);
    open();
    read(full, 12.5F, 0.5F);
    add(0, 5, quietCurve);
    update(full);
    EXPECT_EQ(Gui_text("singleGraph.fwd.value"), " 12.500");
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 14U);
}

TEST_F(GraphSettings, TheLowerGraphChangesItsOwnDisplay) {
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 5}, 1, 0);
    const double upper = configuration_getGraphSettings(0).maxPower;
    open(gtkSensorDualChannel2withGraph, "lowerGraph");
    EXPECT_TRUE(World_syslogContains("displayIndex = 1"));
    enter("graphSettingsRangeMax", "77");
    apply();
    EXPECT_EQ(configuration_getGraphSettings(1).maxPower, 77000.0);
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, upper);
}

TEST_F(GraphSettings, EntryNumbersAreReadInPlainFormWhateverTheLocale) {
    GtkEntry* entry = GTK_ENTRY(gtk_entry_new());
    g_object_ref_sink(entry);
    struct {
        const char* text;
        double value;
    } const cases[] = {{"12.5", 12.5}, {"", 0.0},    {"abc", 0.0},
                       {"nan", 0.0},   {"inf", 0.0}, {"-3", -3.0}};
    for (const auto& test : cases) {
        gtk_entry_set_text(entry, test.text);
        EXPECT_EQ(GraphSettingsUtilities_entryValue(entry), test.value) << test.text;
    }
    formatValueForEntry(entry, -0.5, 2);
    EXPECT_STREQ(gtk_entry_get_text(entry), "0.5") << "the plain function loses the sign";
    validateEntry(entry, 2, 1.0, 2.0);
    EXPECT_STREQ(gtk_entry_get_text(entry), "1");
    g_object_unref(entry);
}
