#include "GraphFixture.h"
#include "GraphPlot.h"
#include "GraphScale.h"
#include "GraphText.h"
#include "GtkHelpers.h"
#include "LookChecks.h"
#include "ScreenView.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace {

constexpr GtkSensorInstance full = gtkSensorSingleChannel1withGraph;

class TimePowerGraph : public GraphScreens {};

using Pixels = std::vector<uint32_t>;

/// What a graph's surface holds.
Pixels pixelsOf(const CGTKTimePowerGraph& graph) {
    cairo_surface_t* surface = graph.graph.plotAreaSurface;
    cairo_surface_flush(surface);
    const int width = cairo_image_surface_get_width(surface);
    const int height = cairo_image_surface_get_height(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    Pixels pixels;
    for (int y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const uint32_t*>(cairo_image_surface_get_data(surface) +
                                                            static_cast<ptrdiff_t>(y) * stride);
        for (int x = 0; x < width; ++x) {
            pixels.push_back(row[x] & 0xFFFFFFU);
        }
    }
    return pixels;
}

/// Of the curve's colour, whatever lies below: mostly, wholly, or only touched by an antialiased
/// edge.
bool isRed(uint32_t pixel, int least) {
    const int red = static_cast<int>(pixel >> 16);
    const int green = static_cast<int>((pixel >> 8) & 0xFF);
    return red >= least && red > green + least / 2;
}

bool isCurve(uint32_t pixel) {
    return isRed(pixel, 150);
}

bool isWholly(uint32_t pixel) {
    return isRed(pixel, 235);
}

bool isTouched(uint32_t pixel) {
    return isRed(pixel, 40);
}

bool isLimit(uint32_t pixel) {
    const int red = static_cast<int>(pixel >> 16);
    const int green = static_cast<int>((pixel >> 8) & 0xFF);
    return green > 150 && green > 2 * red;
}

struct Span {
    int top;
    int bottom;
};

/// The topmost and lowest curve pixel of each pixel column, {-1, -1} for none.
std::vector<Span> curveSpans(const Pixels& pixels, int width,
                             bool (*isWanted)(uint32_t) = isCurve) {
    std::vector<Span> spans(static_cast<size_t>(width), {-1, -1});
    for (size_t i = 0; i < pixels.size(); ++i) {
        if (isWanted(pixels[i])) {
            Span& span = spans[i % static_cast<size_t>(width)];
            const int y = static_cast<int>(i / static_cast<size_t>(width));
            span.top = span.top < 0 ? y : span.top;
            span.bottom = y;
        }
    }
    return spans;
}

int widthOf(const CGTKTimePowerGraph& graph) {
    return cairo_image_surface_get_width(graph.graph.plotAreaSurface);
}

size_t countOf(const Pixels& pixels, bool (*isWanted)(uint32_t)) {
    return static_cast<size_t>(std::ranges::count_if(pixels, isWanted));
}

/// Draws all points anew, one stroke for each line, by the plain rules.
void drawPlainly(CGTKTimePowerGraph& graph, bool isdBm, double yMin, double yMax, uint32_t points) {
    CGTKGraphComponent_clearGraph(&graph.graph);
    const double span_ms = scalesX[graph.graph.scaleIdxX].maxSeconds * 1000.0;
    const double w = gtk_widget_get_allocated_width(graph.graph.plotArea) - 4.0;
    const double h = gtk_widget_get_allocated_height(graph.graph.plotArea) - 4.0;
    const auto powerAt = [&](uint32_t i) {
        return getPowerInCorrectUnits(
            static_cast<double>(CGraphData_getItem(graph.pData, i, RawData).power), isdBm);
    };
    const auto yOf = [&](double power) { return h - h * (power - yMin) / (yMax - yMin); };
    for (uint32_t i = 1; i < points && i * 1000.0 < span_ms; ++i) {
        const double p0 = powerAt(i - 1);
        const double p1 = powerAt(i);
        double x0 = w * (i - 1) * 1000.0 / span_ms;
        double x1 = w * i * 1000.0 / span_ms;
        const bool outside0 = p0 < yMin || p0 > yMax;
        const bool outside1 = p1 < yMin || p1 > yMax;
        if (outside0 && outside1 && (p0 > yMax) == (p1 > yMax)) {
            continue;
        }
        const double middle = (x0 + x1) / 2.0;
        x0 = outside0 ? middle : x0;
        x1 = outside1 ? middle : x1;
        CGTKGraphComponent_plotLine(quorvelSpecificRed, &graph.graph, x0,
                                    yOf(std::clamp(p0, yMin, yMax)), x1,
                                    yOf(std::clamp(p1, yMin, yMax)));
    }
    for (const double limit : {graph.settings.maxLimitLine, graph.settings.minLimitLine}) {
        CGTKGraphComponent_plotLimit(&graph.graph, yOf(std::clamp(limit / 1000.0, yMin, yMax)));
    }
}

float rampCurve(uint32_t index) {
    return static_cast<float>(index) / 10.0F;
}

float jumpingCurve(uint32_t index) {
    constexpr float values[] = {5.0F, 12.0F, 6.0F, -3.0F, 13.0F, 14.0F, 2.0F};
    return values[index % std::size(values)];
}

float dBmCurve(uint32_t index) {
    return 0.001F * static_cast<float>(index % 37);
}

} // namespace

// ---- texts and buttons

TEST_F(TimePowerGraph, ShowsUnitLimitsAndTimeOnEveryScreen) {
    for (const char* name : {"singleGraph", "upperGraph", "lowerGraph"}) {
        const GtkSensorInstance screen = std::string(name) == "singleGraph" ? full
                                         : std::string(name) == "upperGraph"
                                             ? gtkSensorDualChannel1withGraph
                                             : gtkSensorDualChannel2withGraph;
        showAndUpdate(screen);
        const std::string start = std::string(name) + ".graph.";
        EXPECT_EQ(Gui_text(start + "yMax"), "10");
        EXPECT_EQ(Gui_text(start + "yMin"), "0");
        EXPECT_EQ(Gui_text(start + "xMin"), "0");
        EXPECT_EQ(Gui_text(start + "xMax"), "   60");
        EXPECT_EQ(Gui_text(start + "time"), "seconds");
        CGTKGraphComponent& graph = graphOf(screen).graph;
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graph.powerLabel)), "Power (W)");
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graph.powerModeLabel)), "FWD");
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graph.clearGraphLabel)), "Clear");
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graph.autoScaleLabel)), "Auto");
    }
}

TEST_F(TimePowerGraph, TheLongestAxisTextsStandBesideThePlot) {
    const struct {
        uint32_t scaleIndex;
        bool isdBm;
        const char* text;
    } cases[] = {{2, false, "99999999"}, {4, false, "99999.999"}, {4, true, "80.00"}};
    for (const CwScreen& screen : cwScreens) {
        const CGTKTimePowerGraph& graph = graphOf(screen.instance);
        if (graph.container == nullptr) {
            continue;
        }
        for (const auto& test : cases) {
            SCOPED_TRACE(std::string(screen.name) + " " + test.text);
            configuration_setPowerUnitsIsdBm(test.isdBm);
            configuration_setRfPowerScale({.autoScale = false, .scaleIndex = test.scaleIndex},
                                          screen.display, 0);
            setAxis(0.0, 99999999.0, screen.display);
            showAndUpdate(screen.instance);
            GtkWidget* const label = graph.graph.yAxisMaxLabel;
            EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(label)), test.text);
            const GdkRectangle place = Gui_place(label);
            const GdkRectangle plot = Gui_place(graph.graph.plotArea);
            EXPECT_LE(place.x + place.width, plot.x);
            Look_expectShown(graph.container);
        }
    }
    configuration_setPowerUnitsIsdBm(false);
}

TEST_F(TimePowerGraph, FollowsThePowerRangeTheUnitAndTheDirection) {
    showAndUpdate(full);
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 2}, 0, 0);
    update(full);
    EXPECT_EQ(Gui_text("singleGraph.graph.yMax"), "10000");
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graphOf(full).graph.powerLabel)), "Power (mW)");

    configuration_setPowerUnitsIsdBm(true);
    update(full);
    EXPECT_EQ(Gui_text("singleGraph.graph.yMax"), "40.00");
    EXPECT_EQ(Gui_text("singleGraph.graph.yMin"), "-60.00");
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graphOf(full).graph.powerLabel)), "Power (dBm)");

    configuration_setPowerUnitsIsdBm(false);
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 9}, 0, 1);
    GraphSettings_t settings = configuration_getGraphSettings(0);
    settings.bReflectedMode = true;
    settings.maxPower = 20000000.0;
    configuration_setGraphSettings(settings, 0);
    update(full);
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graphOf(full).graph.powerModeLabel)), "RFL");
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(graphOf(full).graph.powerLabel)), "Power (kW)");
    EXPECT_EQ(Gui_text("singleGraph.graph.yMax"), "20");
}

TEST_F(TimePowerGraph, ADecibelSettingShowsInMilliwattsOnAWattScreen) {
    GraphSettings_t settings = configuration_getGraphSettings(0);
    settings.unit = graphScale_dBm;
    settings.minPower = 30.0;
    settings.maxPower = 40.0;
    configuration_setGraphSettings(settings, 0);
    showAndUpdate(full);
    EXPECT_EQ(Gui_text("singleGraph.graph.yMax"), "10");
    EXPECT_EQ(Gui_text("singleGraph.graph.yMin"), "1");
}

TEST_F(TimePowerGraph, ClearEmptiesTheBufferAndRestartsWithAMinute) {
    add(0, 400, rampCurve);
    showAndUpdate(full);
    EXPECT_EQ(graphOf(full).graph.scaleIdxX, 3U);
    EXPECT_GT(countOf(pixelsOf(graphOf(full)), isCurve), 100U);
    Gui_tap("singleGraph.graph.clear");
    EXPECT_EQ(CGraphData_getCount(&bufferOf(0), RawData), 0U);
    EXPECT_EQ(Gui_text("singleGraph.graph.xMax"), "   60");
    EXPECT_EQ(countOf(pixelsOf(graphOf(full)), isCurve), 0U);
    EXPECT_TRUE(World_syslogContains("sensorConnect: clear graph = "));
}

TEST_F(TimePowerGraph, ButtonsDoNothingBeforeStartUpHasFinished) {
    add(0, 10, rampCurve);
    showAndUpdate(full);
    const GraphSettings_t before = configuration_getGraphSettings(0);
    gtk_init_done = false;
    Gui_tap("singleGraph.graph.clear");
    Gui_tap("singleGraph.graph.auto");
    gtk_init_done = true;
    EXPECT_EQ(CGraphData_getCount(&bufferOf(0), RawData), 10U);
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, before.maxPower);
}

TEST_F(TimePowerGraph, AutoFitsTheAxisToTheData) {
    add(0, 10, [](uint32_t index) { return index == 0 ? 0.2F : 0.3F; });
    showAndUpdate(full);
    Gui_tap("singleGraph.graph.auto");
    const GraphSettings_t settings = configuration_getGraphSettings(0);
    EXPECT_EQ(settings.minPower, 0.0);
    EXPECT_EQ(settings.maxPower, 2500.0);
    EXPECT_EQ(settings.unit, graphScale_mW);
    update(full);
    EXPECT_EQ(Gui_text("singleGraph.graph.yMax"), "2.5");
}

TEST_F(TimePowerGraph, AutoInDBmStoresDBm) {
    configuration_setPowerUnitsIsdBm(true);
    add(0, 10, [](uint32_t index) { return index == 0 ? 0.00005F : 0.5F; });
    showAndUpdate(full);
    Gui_tap("singleGraph.graph.auto");
    const GraphSettings_t settings = configuration_getGraphSettings(0);
    EXPECT_EQ(settings.unit, graphScale_dBm);
    EXPECT_EQ(settings.minPower, -15.0);
    EXPECT_EQ(settings.maxPower, 28.0);
}

TEST_F(TimePowerGraph, AutoWithoutNumbersChangesNothing) {
    showAndUpdate(full);
    const GraphSettings_t before = configuration_getGraphSettings(0);
    Gui_tap("singleGraph.graph.auto");
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, before.maxPower);
    GraphSettings_t averaged = before;
    averaged.displayMode = graphModeAverage;
    configuration_setGraphSettings(averaged, 0);
    add(0, 10, rampCurve);
    Gui_tap("singleGraph.graph.auto");
    EXPECT_EQ(configuration_getGraphSettings(0).maxPower, before.maxPower);
}

// ---- the time axis

TEST_F(TimePowerGraph, TheSixtySecondPointExpandsTheAxisAndRedrawsAll) {
    add(0, 2, rampCurve);
    showAndUpdate(full);
    add(0, 59, rampCurve);
    update(full);
    EXPECT_EQ(graphOf(full).graph.scaleIdxX, 0U);
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 60U);
    add(0, 1, rampCurve);
    update(full);
    EXPECT_EQ(graphOf(full).graph.scaleIdxX, 1U);
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 61U);
    EXPECT_EQ(Gui_text("singleGraph.graph.xMax"), "  120");
    EXPECT_TRUE(World_syslogContains("Expand time scale: index = 1"));
    const std::vector<Span> spans = curveSpans(pixelsOf(graphOf(full)), widthOf(graphOf(full)));
    EXPECT_GE(spans[10].top, 0) << "the first minute is drawn again";
    EXPECT_LT(spans[spans.size() * 3 / 4].top, 0) << "the second minute is still to come";
}

TEST_F(TimePowerGraph, ADayIsShownInHours) {
    add(0, graphRawCapacity, quietCurve);
    showAndUpdate(full);
    EXPECT_EQ(Gui_text("singleGraph.graph.time"), " hours ");
    EXPECT_EQ(Gui_text("singleGraph.graph.xMax"), "   24");
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 86399U);
}

TEST_F(TimePowerGraph, QuarterHourIsShownInMinutes) {
    add(0, 700, quietCurve);
    showAndUpdate(full);
    EXPECT_EQ(Gui_text("singleGraph.graph.time"), "minutes");
    EXPECT_EQ(Gui_text("singleGraph.graph.xMax"), "   15");
}

// ---- the curve

TEST_F(TimePowerGraph, PointsAddedOneByOneGiveThePictureOfAllAtOnce) {
    add(0, 2, noisyCurve);
    showAndUpdate(full);
    for (uint32_t i = 2; i < 150; ++i) {
        CGraphData_addItem(&bufferOf(0), noisyCurve(i));
        CGTKTimePowerGraph_update(&graphOf(full));
    }
    const Pixels grown = pixelsOf(graphOf(full));
    CGTKTimePowerGraph_invalidateGraph(&graphOf(full));
    update(full);
    EXPECT_EQ(graphOf(full).graph.scaleIdxX, 2U);
    CGTKGraphComponent_updateTimeScale(&graphOf(full).graph, 2);
    EXPECT_TRUE(grown == pixelsOf(graphOf(full)));
}

TEST_F(TimePowerGraph, AThousandPointsAreDrawnExactlyAsLineByLine) {
    for (const GtkSensorInstance screen : {full, gtkSensorDualChannel1withGraph}) {
        for (Curve curve : {noisyCurve, jumpingCurve, rampCurve}) {
            CGraphData_reset(&bufferOf(0));
            CGTKTimePowerGraph_invalidateGraph(&graphOf(screen));
            add(0, 1000, curve);
            showAndUpdate(screen);
            const Pixels drawn = pixelsOf(graphOf(screen));
            drawPlainly(graphOf(screen), false, 0.0, 10.0, 1000);
            EXPECT_TRUE(drawn == pixelsOf(graphOf(screen)));
        }
    }
}

TEST_F(TimePowerGraph, DBmIsDrawnExactlyAsLineByLine) {
    configuration_setPowerUnitsIsdBm(true);
    add(0, 50, dBmCurve);
    showAndUpdate(full);
    const CGTKTimePowerGraph& graph = graphOf(full);
    ASSERT_TRUE(graph.isdBm);
    const std::vector<Span> spans = curveSpans(pixelsOf(graph), widthOf(graph));
    // 1 mW is 0 dBm: 60 % of the way from -60 to 40 dBm.
    const double h = gtk_widget_get_allocated_height(graph.graph.plotArea) - 4.0;
    const auto x = static_cast<size_t>(
        std::lround(2.0 + (gtk_widget_get_allocated_width(graph.graph.plotArea) - 4.0) / 60.0));
    EXPECT_NEAR(spans[x].top, 2.0 + h * 0.4, 3.0);
}

TEST_F(TimePowerGraph, ADayCoversTheSameColumnsAndSpansAsLineByLine) {
    for (const GtkSensorInstance screen : {full, gtkSensorDualChannel1withGraph}) {
        for (Curve curve : {noisyCurve, quietCurve, jumpingCurve}) {
            CGraphData_reset(&bufferOf(0));
            CGTKTimePowerGraph_invalidateGraph(&graphOf(screen));
            add(0, graphMaxPoints, curve);
            showAndUpdate(screen);
            const CGTKTimePowerGraph& graph = graphOf(screen);
            const std::vector<Span> drawn = curveSpans(pixelsOf(graph), widthOf(graph));
            drawPlainly(graphOf(screen), false, 0.0, 10.0, graphMaxPoints);
            const Pixels plain = pixelsOf(graph);
            const std::vector<Span> wholly = curveSpans(plain, widthOf(graph), isWholly);
            const std::vector<Span> touched = curveSpans(plain, widthOf(graph), isTouched);
            ASSERT_EQ(drawn.size(), touched.size());
            for (size_t x = 0; x < drawn.size(); ++x) {
                if (wholly[x].top >= 0) {
                    EXPECT_LE(drawn[x].top, wholly[x].top + 1) << "column " << x;
                    EXPECT_GE(drawn[x].bottom, wholly[x].bottom - 1) << "column " << x;
                }
                if (drawn[x].top >= 0) {
                    EXPECT_GE(drawn[x].top, touched[x].top - 1) << "column " << x;
                    EXPECT_LE(drawn[x].bottom, touched[x].bottom + 1) << "column " << x;
                }
            }
        }
    }
}

TEST_F(TimePowerGraph, APointAboveTheMaximumEndsAtTheTopHalfWay) {
    constexpr float powers[] = {5.0F, 15.0F, 15.0F};
    for (const float power : powers) {
        CGraphData_addItem(&bufferOf(0), power);
    }
    showAndUpdate(full);
    const CGTKTimePowerGraph& graph = graphOf(full);
    const std::vector<Span> spans = curveSpans(pixelsOf(graph), widthOf(graph));
    const double second = (gtk_widget_get_allocated_width(graph.graph.plotArea) - 4.0) / 60.0;
    EXPECT_LE(spans[static_cast<size_t>(2.0 + second / 2.0)].top, 3);
    EXPECT_LT(spans[static_cast<size_t>(2.0 + second)].top, 0) << "nothing beyond half way";
}

TEST_F(TimePowerGraph, LimitLinesCrossThePlotAndStayInsideTheAxis) {
    GraphSettings_t settings = configuration_getGraphSettings(0);
    settings.minLimitLine = 2500.0;
    settings.maxLimitLine = 99999.0; // beyond the axis: drawn at its edge
    configuration_setGraphSettings(settings, 0);
    add(0, 5, rampCurve);
    showAndUpdate(full);
    const CGTKTimePowerGraph& graph = graphOf(full);
    const Pixels pixels = pixelsOf(graph);
    const int width = widthOf(graph);
    std::vector<int> rows;
    for (int y = 0; y < static_cast<int>(pixels.size()) / width; ++y) {
        const auto begin = pixels.begin() + static_cast<ptrdiff_t>(y) * width;
        if (std::count_if(begin, begin + width, isLimit) > width - 10) {
            rows.push_back(y);
        }
    }
    const int h = static_cast<int>(pixels.size()) / width - 4;
    ASSERT_EQ(rows.size(), 4U) << "two lines of two pixels";
    EXPECT_NEAR(rows[0], 1, 1);
    EXPECT_NEAR(rows[2], 2.0 + h * 0.75, 2.0);
}

TEST_F(TimePowerGraph, APassWithoutNewPointsChangesNoPixel) {
    add(0, 40, noisyCurve);
    showAndUpdate(full);
    const Pixels before = pixelsOf(graphOf(full));
    for (int pass = 0; pass < 5; ++pass) {
        update(full);
    }
    EXPECT_TRUE(before == pixelsOf(graphOf(full)));
}

TEST_F(TimePowerGraph, AveragedPointsWaitForThePrefillAndReplaceItsText) {
    GraphSettings_t settings = configuration_getGraphSettings(0);
    settings.displayMode = graphModeAverage;
    settings.averageCount = 4;
    configuration_setGraphSettings(settings, 0);
    CGraphData_setFilterWidth(&bufferOf(0), 4);
    add(0, 3, rampCurve);
    showAndUpdate(full);
    const auto isWhite = [](uint32_t pixel) { return pixel == 0xFFFFFF; };
    EXPECT_GT(countOf(pixelsOf(graphOf(full)), isWhite), 50U) << "Waiting for prefill...";
    const Pixels first = pixelsOf(graphOf(full));
    update(full);
    EXPECT_FALSE(first == pixelsOf(graphOf(full))) << "the indicator moves";
    add(0, 2, rampCurve);
    update(full);
    EXPECT_EQ(countOf(pixelsOf(graphOf(full)), isWhite), 0U);
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 1U);
}

// ---- robustness

TEST_F(TimePowerGraph, AnyLimitsOfAFileAreSurvived) {
    add(0, 100, noisyCurve);
    showAndUpdate(full);
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    CGTKTimePowerGraph& graph = graphOf(full);
    for (const double min : {nan, infinity, -infinity, 0.0, 5000.0, 1e300, -1e300}) {
        for (const double max : {nan, infinity, -infinity, 0.0, 5000.0, 1e300, -1e300}) {
            for (const bool isdBm : {false, true}) {
                graph.settings.minPower = min;
                graph.settings.maxPower = max;
                graph.settings.minLimitLine = max;
                graph.settings.maxLimitLine = min;
                graph.settings.unit = isdBm ? graphScale_dBm : graphScale_mW;
                graph.isdBm = !isdBm;
                graph.callbacks.redraw(&graph);
                graph.isdBm = isdBm;
                graph.callbacks.redraw(&graph);
            }
        }
    }
    const std::string values[] = {"nan", "inf", "-inf", "1e300", "-1e300", "5000"};
    for (const std::string& min : values) {
        for (const std::string& max : values) {
            World_writeFile("/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf",
                            "graphDisplayMinPower_ch1 " + min + "\ngraphDisplayMaxPower_ch1 " +
                                max + "\nlimitLineMin_ch1 " + max + "\n");
            readConfigFile();
            update(full);
            configuration_setPowerUnitsIsdBm(true);
            update(full);
        }
    }
    EXPECT_EQ(graph.graph.previousDataIdx, 99U);
}

TEST_F(TimePowerGraph, ABufferThatHasShrunkIsDrawnAnew) {
    add(0, 200, rampCurve);
    showAndUpdate(full);
    CGraphData_reset(&bufferOf(0));
    add(0, 20, rampCurve);
    update(full);
    EXPECT_EQ(graphOf(full).graph.scaleIdxX, 0U);
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 19U);
    CGraphData_reset(&bufferOf(0));
    update(full);
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 0U);
    EXPECT_EQ(countOf(pixelsOf(graphOf(full)), isCurve), 0U);
}

TEST_F(TimePowerGraph, AnAreaThatIsConfiguredAgainShowsWhatWasDrawn) {
    add(0, 100, noisyCurve);
    showAndUpdate(full);
    GtkWidget* area = graphOf(full).graph.plotArea;
    const int width = gtk_widget_get_allocated_width(area);
    const int height = gtk_widget_get_allocated_height(area);
    const Pixels before = pixelsOf(graphOf(full));
    gtk_widget_set_size_request(area, width - 100, height);
    Gui_settle();
    EXPECT_EQ(widthOf(graphOf(full)), width - 100);
    EXPECT_GT(countOf(pixelsOf(graphOf(full)), isCurve), 100U);
    gtk_widget_set_size_request(area, width, height);
    Gui_settle();
    EXPECT_TRUE(before == pixelsOf(graphOf(full)));
}

TEST_F(TimePowerGraph, BindingTheFullScreenToTheLowerDisplayShowsItsSamples) {
    add(0, 30, rampCurve);
    add(1, 50, quietCurve);
    showAndUpdate(full);
    EXPECT_EQ(graphOf(full).sampleCount, 30U);
    screenView.bindScreen(full, LowerDisplay, sensorPort_Serial1);
    update(full);
    EXPECT_EQ(graphOf(full).pData, &bufferOf(1));
    EXPECT_EQ(graphOf(full).sampleCount, 50U);
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 49U);
}

TEST_F(TimePowerGraph, AGraphThatWasHiddenForHoursCatchesUpAtOnce) {
    add(0, 30, rampCurve);
    showAndUpdate(full);
    add(0, 50000, quietCurve);
    update(full);
    EXPECT_EQ(graphOf(full).graph.scaleIdxX, 10U);
    EXPECT_EQ(graphOf(full).graph.previousDataIdx, 50029U);
}

TEST_F(TimePowerGraph, InvalidatingADisplayReachesItsGraphsOnly) {
    for (const CwScreen& screen : cwScreens) {
        graphOf(screen.instance).invalidate = false;
    }
    CGTKTimePowerGraph_invalidateDisplay(1);
    EXPECT_FALSE(graphOf(full).invalidate);
    EXPECT_FALSE(graphOf(gtkSensorDualChannel1withGraph).invalidate);
    EXPECT_TRUE(graphOf(gtkSensorDualChannel2withGraph).invalidate);
}
