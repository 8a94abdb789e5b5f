#include "LookChecks.h"
#include "PulseFixture.h"
#include "ScreenFixture.h"
#include "SilenceSign.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace {

struct Geometry : Screens {
    using Screens::read;
};

struct LongestTexts {
    float fwd_W;
    float rfl_W;
    bool isdBm;
};

/// Readings with the longest texts: "-123.45", "1999.9", "-inf", over range.
constexpr LongestTexts longestTexts[] = {
    {1e-15F, 1e-15F, true},   {4.5186e-16F, 0.0F, true}, {199.99F, 1.99994F, false},
    {5000.0F, 0.001F, false}, {25.0F, 0.5F, false},
};

bool overlaps(const GdkRectangle& a, const GdkRectangle& b) {
    return gdk_rectangle_intersect(&a, &b, nullptr) != 0;
}

bool isInside(GtkWidget* widget, GType type) {
    for (GtkWidget* up = gtk_widget_get_parent(widget); up != nullptr;
         up = gtk_widget_get_parent(up)) {
        if (g_type_is_a(G_OBJECT_TYPE(up), type)) {
            return true;
        }
    }
    return false;
}

/// What the eye sees apart: keys, texts and pictures that stand alone.
std::vector<GtkWidget*> shownParts() {
    std::vector<GtkWidget*> parts = Gui_shownWidgets(GTK_TYPE_BUTTON);
    for (const GType type : {GTK_TYPE_LABEL, GTK_TYPE_IMAGE, GTK_TYPE_TEXT_VIEW}) {
        for (GtkWidget* widget : Gui_shownWidgets(type)) {
            if (!isInside(widget, GTK_TYPE_BUTTON)) {
                parts.push_back(widget);
            }
        }
    }
    return parts;
}

void expectPartsApart() {
    const std::vector<GtkWidget*> parts = shownParts();
    const GdkRectangle screen = {0, 0, 1024, 768};
    EXPECT_GE(parts.size(), 2U);
    for (size_t i = 0; i < parts.size(); ++i) {
        const GdkRectangle place = Gui_place(parts[i]);
        GdkRectangle common;
        EXPECT_TRUE(gdk_rectangle_intersect(&place, &screen, &common) &&
                    gdk_rectangle_equal(&place, &common))
            << gtk_widget_get_name(parts[i]) << " leaves the screen: " << place.x << "," << place.y
            << " " << place.width << "x" << place.height;
        for (size_t j = i + 1; j < parts.size(); ++j) {
            EXPECT_FALSE(overlaps(place, Gui_place(parts[j])))
                << gtk_widget_get_name(parts[i]) << " and " << gtk_widget_get_name(parts[j]);
        }
    }
}

/// Shows each CW screen with each of the longest texts, and calls expect(GtkSensorInstance, isdBm).
template <typename Expect> void withTheLongestTexts(Expect expect) {
    for (const LongestTexts& texts : longestTexts) {
        configuration_setPowerUnitsIsdBm(texts.isdBm);
        for (const CwScreen& screen : cwScreens) {
            SCOPED_TRACE(screen.name);
            Gui_showScreen(screen.instance);
            Geometry::read(screen.instance, texts.fwd_W, texts.rfl_W);
            expect(screen.instance, texts.isdBm);
        }
    }
}

TEST_F(Geometry, NothingOverlapsOrLeavesTheScreenWhateverIsRead) {
    withTheLongestTexts([](GtkSensorInstance, bool) { expectPartsApart(); });
}

TEST_F(Geometry, NoConnectionScreensKeepTheirTextsApart) {
    for (const GtkSensorInstance instance :
         {gtkSensorSingleNoConnection, gtkSensorDualNoConnectionCh1,
          gtkSensorDualNoConnectionCh2}) {
        CGTKNoConnectionDisplay* display = gtkSensor_noConnectionDisplay(instance);
        Gui_showScreen(instance);
        const auto expectInOrder = [display] {
            Gui_settle();
            expectPartsApart();
            Look_expectTold(gtk_widget_get_parent(display->title));
        };
        CGTKNoConnectionDisplay_setNoConnect(display);
        expectInOrder();
        CGTKNoConnectionDisplay_setConnecting_withPort(display, "USB1");
        expectInOrder();
        CGTKNoConnectionDisplay_setSensorError_withPort(display, "USB1");
        expectInOrder();
    }
}

TEST_F(Geometry, ValueLabelsKeepPlaceAndWidthWhateverTheyShow) {
    for (const CwScreen& screen : cwScreens) {
        Gui_showScreen(screen.instance);
        for (const char* line : {".fwd.value", ".rfl.value", ".match.value"}) {
            const std::string name = std::string(screen.name) + line;
            GtkWidget* label = Gui_widget(name);
            const GdkRectangle blank = Gui_place(label);
            for (const LongestTexts& texts : longestTexts) {
                configuration_setPowerUnitsIsdBm(texts.isdBm);
                read(screen.instance, texts.fwd_W, texts.rfl_W);
                const GdkRectangle place = Gui_place(label);
                EXPECT_TRUE(gdk_rectangle_equal(&place, &blank)) << name << " " << Gui_text(name);
                PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(label));
                int textWidth = 0;
                pango_layout_get_pixel_size(layout, &textWidth, nullptr);
                EXPECT_LE(textWidth, blank.width) << name << " \"" << Gui_text(name) << "\"";
            }
            configuration_setPowerUnitsIsdBm(false);
        }
    }
}

int fontSize(const std::string& name) {
    PangoAttrList* attributes = gtk_label_get_attributes(GTK_LABEL(Gui_widget(name)));
    PangoAttrIterator* iterator = pango_attr_list_get_iterator(attributes);
    PangoFontDescription* font = pango_font_description_new();
    pango_attr_iterator_get_font(iterator, font, nullptr, nullptr);
    const int size = pango_font_description_get_size(font) / PANGO_SCALE;
    EXPECT_STREQ(pango_font_description_get_family(font), "Monospace");
    pango_font_description_free(font);
    pango_attr_iterator_destroy(iterator);
    return size;
}

TEST_F(Geometry, PowersAreTheLargestFiguresByFar) {
    struct Row {
        const char* screen;
        int least;
    };
    constexpr Row rows[] = {{"single", 140},    {"singleGraph", 100}, {"upper", 90},
                            {"upperGraph", 60}, {"lower", 90},        {"lowerGraph", 60}};
    for (const Row& row : rows) {
        const std::string screen = row.screen;
        EXPECT_GE(fontSize(screen + ".fwd.value"), row.least) << screen;
        EXPECT_EQ(fontSize(screen + ".fwd.value"), fontSize(screen + ".rfl.value"));
        EXPECT_LE(fontSize(screen + ".fwd.units") * 2, fontSize(screen + ".fwd.value")) << screen;
        EXPECT_LE(fontSize(screen + ".fwd.caption") * 2, fontSize(screen + ".fwd.value")) << screen;
        EXPECT_LE(fontSize(screen + ".match.value") * 4, fontSize(screen + ".fwd.value") * 3)
            << screen;
    }
}

TEST_F(Geometry, GraphScreensLeaveAPlaceForTheGraph) {
    for (const CwScreen& screen : cwScreens) {
        const CGTKCWDisplay* display = gtkSensor_cwDisplay(screen.instance);
        const bool withGraph = std::string(screen.name).ends_with("Graph");
        ASSERT_EQ(display->graph.container != nullptr, withGraph) << screen.name;
        if (withGraph) {
            Gui_showScreen(screen.instance);
            const GdkRectangle place = Gui_place(display->graph.container);
            EXPECT_GE(place.width, 440) << screen.name;
            EXPECT_GE(place.height, 270) << screen.name;
            for (GtkWidget* part : shownParts()) {
                const bool isOfGraph = gtk_widget_is_ancestor(part, display->graph.container) != 0;
                EXPECT_TRUE(isOfGraph || !overlaps(place, Gui_place(part)))
                    << gtk_widget_get_name(part);
            }
        }
    }
}

TEST_F(Geometry, ALongSensorLabelStaysInsideItsKey) {
    snprintf(sensorFakes[0].model, sizeof sensorFakes[0].model, "WWWWWWWWWWWWWWWWWWW");
    for (const CwScreen& screen : cwScreens) {
        Gui_showScreen(screen.instance);
        CGTKPowerDisplay_setSensorLabel(gtkSensor_powerDisplay(screen.instance), 30);
        Gui_settle();
        const std::string name = std::string(screen.name) + ".title";
        // Model, colon, blank and serial number: one character less than there is room for.
        EXPECT_EQ(Gui_text(name).size(), 29U);
        EXPECT_FALSE(pango_layout_is_ellipsized(gtk_label_get_layout(GTK_LABEL(Gui_widget(name)))))
            << name;
        expectPartsApart();
    }
}

bool isCut(GtkWidget* label) {
    return pango_layout_is_ellipsized(gtk_label_get_layout(GTK_LABEL(label))) != 0;
}

/// The sign stands beside the name, whole both, and leaves the row as it was.
void expectRoomForTheSign(GtkSensorInstance screen) {
    CGTKPowerDisplay* display = gtkSensor_powerDisplay(screen);
    const gtkPowerDisplay_Title& title = display->title;
    GtkWidget* sign = title.silence.label;
    ASSERT_NE(sign, nullptr);
    CGTKPowerDisplay_setSensorLabel(display, 30);
    Gui_settle();
    const GdkRectangle key = Gui_place(title.sensorButton);
    const int textHeight = Gui_place(title.sensorButtonLabel).height;
    for (const char* text : {"no reading for 3 s", "no reading for 99 s", "no reading for 1 min",
                             "no reading for 9999 min"}) {
        SilenceSign_show(title, text);
        Gui_settle();
        EXPECT_TRUE(gtk_widget_get_mapped(sign)) << text;
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(sign)), text);
        EXPECT_FALSE(isCut(sign)) << text;
        EXPECT_FALSE(isCut(title.sensorButtonLabel)) << text;
        const GdkRectangle place = Gui_place(sign);
        EXPECT_EQ(place.x + place.width, key.x + key.width) << "where the button was";
        EXPECT_EQ(place.y, key.y);
        EXPECT_EQ(place.height, key.height) << text;
        expectPartsApart();
    }
    SilenceSign_show(title, "");
    Gui_settle();
    EXPECT_FALSE(gtk_widget_get_mapped(sign));
    const GdkRectangle again = Gui_place(title.sensorButton);
    EXPECT_TRUE(gdk_rectangle_equal(&again, &key));
    EXPECT_EQ(Gui_place(title.sensorButtonLabel).height, textHeight);
}

TEST_F(Geometry, ASilenceStandsBesideTheSensorsNameHoweverLongThatIs) {
    for (const char* model : {"5132", "WWWWWWWWWWWWWWWWWWW"}) {
        snprintf(sensorFakes[0].model, sizeof sensorFakes[0].model, "%s", model);
        for (const CwScreen& screen : cwScreens) {
            SCOPED_TRACE(screen.name);
            Gui_showScreen(screen.instance);
            read(screen.instance, 25.0F, 0.5F);
            expectRoomForTheSign(screen.instance);
        }
    }
}

class PulseGeometry : public PulseScreens {
protected:
    /// Calls check(const CGTKPulseDisplay&) on every page that the screens have, in watts and dBm,
    /// with the longest readings and with usual ones.
    template <typename Check> static void onEveryPage(Check check) {
        for (const bool isTriggered : {false, true}) {
            setTriggered(isTriggered, 4);
            for (const bool isdBm : {false, true}) {
                configuration_setPowerUnitsIsdBm(isdBm);
                for (const SENSOR_MEASUREMENTS& measurements : {readings(), longestReadings()}) {
                    onEveryScreen(isTriggered, measurements, check);
                }
            }
        }
    }

private:
    template <typename Check>
    static void onEveryScreen(bool isTriggered, const SENSOR_MEASUREMENTS& measurements,
                              Check check) {
        for (const PulseScreen& screen : pulseScreens) {
            Gui_showScreen(screen.instance);
            read(measurements, screen.instance);
            CGTKPulseDisplay* display = displayOf(screen.instance);
            for (GtkWidget* page :
                 {display->pGridAttr, isTriggered ? display->pGridState : display->pGridGated}) {
                SCOPED_TRACE(testing::Message()
                             << "screen " << screen.instance << ", triggered " << isTriggered
                             << ", page " << gtk_widget_get_name(page));
                turnTo(page);
                check(*display);
            }
        }
    }
};

TEST_F(PulseGeometry, NothingOverlapsOrLeavesTheScreenWhateverIsRead) {
    onEveryPage([](const CGTKPulseDisplay&) { expectPartsApart(); });
}

TEST_F(PulseGeometry, ASilenceStandsBesideTheSensorsNameHoweverLongThatIs) {
    for (const char* model : {"3164", "WWWWWWWWWWWWWWWWWWW"}) {
        for (const PulseScreen& screen : pulseScreens) {
            SCOPED_TRACE(screen.instance);
            snprintf(sensorFakes[screen.port].model, sizeof sensorFakes[0].model, "%s", model);
            Gui_showScreen(screen.instance);
            read(readings(), screen.instance);
            expectRoomForTheSign(screen.instance);
        }
    }
}

TEST_F(PulseGeometry, ValuesFillTheirPlacesAndNeverMoveThem) {
    for (const PulseScreen& screen : pulseScreens) {
        Gui_showScreen(screen.instance);
        configuration_setPowerUnitsIsdBm(false);
        read(readings(), screen.instance);
        std::vector<std::pair<GtkWidget*, GdkRectangle>> places;
        for (GtkWidget* label : Gui_shownWidgets(GTK_TYPE_LABEL)) {
            places.emplace_back(label, Gui_place(label));
        }
        for (const bool isdBm : {false, true}) {
            configuration_setPowerUnitsIsdBm(isdBm);
            read(longestReadings(), screen.instance);
            for (const auto& [label, before] : places) {
                const GdkRectangle place = Gui_place(label);
                EXPECT_TRUE(gdk_rectangle_equal(&place, &before))
                    << gtk_widget_get_name(label) << (isdBm ? " in dBm" : " in watts");
                int textWidth = 0;
                pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(label)), &textWidth,
                                            nullptr);
                EXPECT_LE(textWidth, before.width) << gtk_widget_get_name(label);
            }
        }
    }
}

TEST_F(PulseGeometry, PowersAreTheLargestFigures) {
    struct Row {
        GtkSensorInstance instance;
        int least;
    };
    for (const Row& row : {Row{gtkSensorSinglePulse, 110}, Row{gtkSensorDualPulseChannel1, 70}}) {
        CGTKPulseDisplay* display = displayOf(row.instance);
        read(readings(), row.instance);
        const auto sizeOf = [](GtkWidget* label) {
            PangoRectangle ink;
            pango_layout_get_pixel_extents(gtk_label_get_layout(GTK_LABEL(label)), &ink, nullptr);
            return ink.height;
        };
        // Digits take about three quarters of their font's size.
        EXPECT_GE(sizeOf(display->power.fwdRFPower.value) * 4 / 3, row.least);
        EXPECT_GE(sizeOf(display->power.fwdRFPower.value), sizeOf(display->period.value) * 2);
    }
}

/// What a label really paints, which may be more than its place.
GdkRectangle inkOf(GtkWidget* label) {
    PangoRectangle ink;
    pango_layout_get_pixel_extents(gtk_label_get_layout(GTK_LABEL(label)), &ink, nullptr);
    int x = 0;
    int y = 0;
    gtk_label_get_layout_offsets(GTK_LABEL(label), &x, &y);
    return {x + ink.x, y + ink.y, ink.width, ink.height};
}

void expectInkApart() {
    const std::vector<GtkWidget*> labels = Gui_shownWidgets(GTK_TYPE_LABEL);
    for (size_t i = 0; i < labels.size(); ++i) {
        for (size_t j = i + 1; j < labels.size(); ++j) {
            EXPECT_FALSE(overlaps(inkOf(labels[i]), inkOf(labels[j])))
                << gtk_label_get_text(GTK_LABEL(labels[i])) << " and "
                << gtk_label_get_text(GTK_LABEL(labels[j]));
        }
    }
}

std::vector<guint8> pixels() {
    GdkPixbuf* picture = Gui_picture();
    const guint8* first = gdk_pixbuf_read_pixels(picture);
    std::vector<guint8> copy(first, first + gdk_pixbuf_get_byte_length(picture));
    g_object_unref(picture);
    return copy;
}

std::vector<guint8> pixelsDrawnAnew() {
    gtk_widget_queue_draw(entireScreen.mainWindow);
    return pixels();
}

// The figures are larger than their labels: the "g" of "Range" hangs below them.

TEST_F(Geometry, AnOverRangeIsDrawnWholeAndLeavesNothing) {
    for (const CwScreen& screen : cwScreens) {
        Gui_showScreen(screen.instance);
        for (const float power_W : {25.0F, 5000.0F, 20.0F}) {
            read(screen.instance, power_W, power_W);
            EXPECT_TRUE(pixels() == pixelsDrawnAnew()) << screen.name << " " << power_W;
            SCOPED_TRACE(screen.name);
            expectInkApart();
        }
    }
}

TEST_F(Geometry, ALineThatComesBackOverRangeIsDrawnWhole) {
    for (const CwScreen& screen : cwScreens) {
        Gui_showScreen(screen.instance);
        read(screen.instance, 25.0F, 5000.0F);
        const std::vector<guint8> whole = pixels();
        configuration_setDisplayReflectedPower(false);
        read(screen.instance, 25.0F, 20.0F);
        configuration_setDisplayReflectedPower(true);
        read(screen.instance, 25.0F, 5000.0F);
        EXPECT_TRUE(pixels() == whole) << screen.name;
    }
}

TEST_F(PulseGeometry, ALineThatComesBackOverRangeIsDrawnWhole) {
    SENSOR_MEASUREMENTS low = readings();
    SENSOR_MEASUREMENTS high = low;
    high.rflPwrVal = 5000.0F;
    for (const PulseScreen& screen : pulseScreens) {
        Gui_showScreen(screen.instance);
        read(high, screen.instance);
        const std::vector<guint8> whole = pixels();
        configuration_setDisplayReflectedPower(false);
        read(low, screen.instance);
        configuration_setDisplayReflectedPower(true);
        read(high, screen.instance);
        EXPECT_TRUE(pixels() == whole) << screen.display;
    }
}

TEST_F(PulseGeometry, AnOverRangeIsDrawnWholeAndLeavesNothing) {
    for (const PulseScreen& screen : pulseScreens) {
        Gui_showScreen(screen.instance);
        for (const float power_W : {25.0F, 5000.0F, 20.0F}) {
            SENSOR_MEASUREMENTS measurements = readings();
            measurements.fwdPwrVal = power_W;
            measurements.rflPwrVal = power_W;
            read(measurements, screen.instance);
            EXPECT_TRUE(pixels() == pixelsDrawnAnew()) << power_W;
            expectInkApart();
        }
    }
}

/// The keys of a group are equal and stand in one row or column: up, Auto, down.
void expectScaleOrder(const CGTKScaleControls& controls) {
    const GdkRectangle up = Gui_place(controls.gtkScaleUp);
    const GdkRectangle automatic = Gui_place(controls.gtkScaleAutoOn);
    const GdkRectangle down = Gui_place(controls.gtkScaleDown);
    EXPECT_TRUE((up.x == automatic.x && up.x == down.x) || (up.y == automatic.y && up.y == down.y));
    EXPECT_LT(up.x + up.y, automatic.x + automatic.y);
    EXPECT_LT(automatic.x + automatic.y, down.x + down.y);
    for (const GdkRectangle& key : {automatic, down}) {
        EXPECT_EQ(key.width, up.width);
        EXPECT_EQ(key.height, up.height);
    }
}

/// The title row is where it is on every other screen.
void expectTitleRow(const CGTKPowerDisplay& display) {
    const int top_px = Gui_place(display.container).y + 8;
    const GdkRectangle sensor = Gui_place(display.title.sensorButton);
    EXPECT_EQ(sensor.x, 8);
    EXPECT_EQ(sensor.y, top_px);
    EXPECT_EQ(sensor.height, 52);
    GtkWidget* name = display.title.sensorButtonLabel;
    EXPECT_EQ(Look_lineHeight(gtk_label_get_layout(GTK_LABEL(name))), 36) << "letters of 30 px";
    EXPECT_EQ(Gui_place(name).x, sensor.x + 17);
    const GdkRectangle config = Gui_place(display.title.configButton);
    EXPECT_EQ(config.x, 952);
    EXPECT_EQ(config.y, top_px);
    EXPECT_EQ(config.width, 64);
    EXPECT_EQ(config.height, 52);
}

TEST_F(Geometry, ScreensLookAsTheDesignAsks) {
    withTheLongestTexts([](GtkSensorInstance screen, bool isdBm) {
        const CGTKPowerDisplay& display = *gtkSensor_powerDisplay(screen);
        Look_expectShown(display.container);
        expectTitleRow(display);
        if (!isdBm) {
            expectScaleOrder(display.scaleControlsFwd);
            expectScaleOrder(display.scaleControlsRfl);
        }
    });
}

TEST_F(Geometry, TheGraphsCaptionsStandOnTheirLines) {
    for (const CwScreen& screen : cwScreens) {
        const CGTKGraphComponent& graph = gtkSensor_cwDisplay(screen.instance)->graph.graph;
        if (graph.plotArea == nullptr) {
            continue;
        }
        Gui_showScreen(screen.instance);
        Gui_settle();
        constexpr int plotMargin_px = 2;
        const GdkRectangle plot = Gui_place(graph.plotArea);
        const GdkRectangle highest = Gui_place(graph.yAxisMaxLabel);
        const GdkRectangle lowest = Gui_place(graph.yAxisMinLabel);
        EXPECT_EQ(highest.y + highest.height / 2, plot.y + plotMargin_px) << screen.name;
        EXPECT_EQ(lowest.y + lowest.height / 2, plot.y + plot.height - plotMargin_px)
            << screen.name;
    }
}

TEST_F(Geometry, AnArrowThatWasTappedLooksAsBefore) {
    Gui_showScreen(gtkSensorSingleChannel1);
    readSingle(25.0F, 0.5F);
    Gui_tap("single.fwd.scaleAuto");
    Gui_settle();
    const std::vector<guint8> before = pixels();
    Gui_tap("single.fwd.scaleUp");
    Gui_tap("single.fwd.scaleDown");
    Gui_settle();
    EXPECT_TRUE(pixels() == before);
}

TEST_F(PulseGeometry, TheTitleRowIsThatOfTheOtherScreens) {
    for (const PulseScreen& screen : pulseScreens) {
        Gui_showScreen(screen.instance);
        Gui_settle();
        expectTitleRow(displayOf(screen.instance)->power);
    }
}

TEST_F(PulseGeometry, ThePulsesValuesStandOnTheBaseLinesOfTheirCaptionsAndUnits) {
    for (const PulseScreen& screen : pulseScreens) {
        SCOPED_TRACE(screen.instance);
        Gui_showScreen(screen.instance);
        read(readings(), screen.instance);
        const CGTKPulseDisplay& display = *displayOf(screen.instance);
        for (const gtkPowerDisplay_PulseValue* line :
             {&display.period, &display.repeat, &display.width, &display.dutyCycleVal,
              &display.frequency}) {
            EXPECT_NEAR(Look_baseLine(line->label), Look_baseLine(line->value), 1);
            EXPECT_NEAR(Look_baseLine(line->unitsButtonLabel), Look_baseLine(line->value), 1);
        }
    }
}

/// The scale keys of what is shown, which are hidden in dBm.
void expectScaleOrders(const CGTKPulseDisplay& display) {
    std::vector<const CGTKScaleControls*> groups = {&display.power.scaleControlsFwd,
                                                    &display.power.scaleControlsRfl,
                                                    &display.scaleControlsGatedPower};
    for (const gtkPowerDisplay_PulseState& state : display.stateArray) {
        groups.push_back(&state.scaleControls);
    }
    std::erase_if(groups, [](const CGTKScaleControls* group) {
        return !gtk_widget_get_mapped(group->gtkScaleUp);
    });
    EXPECT_EQ(groups.empty(), configuration_getPowerUnitsIsdBm());
    for (const CGTKScaleControls* group : groups) {
        expectScaleOrder(*group);
    }
}

TEST_F(PulseGeometry, ScreensLookAsTheDesignAsks) {
    onEveryPage([](const CGTKPulseDisplay& display) {
        Look_expectShown(display.power.container);
        expectScaleOrders(display);
    });
}

TEST_F(PulseGeometry, APageWithoutStatesLooksAsTheDesignAsks) {
    setTriggered(true, 0);
    for (const PulseScreen& screen : pulseScreens) {
        Gui_showScreen(screen.instance);
        read(readings(), screen.instance);
        turnTo(displayOf(screen.instance)->pGridState);
        Look_expectShown(displayOf(screen.instance)->power.container);
    }
}

} // namespace
