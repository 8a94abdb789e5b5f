#include "GraphPlot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

/// 600 x 100 pixels, 60 s, 0 to 10 W.
constexpr GraphPlotArea plot = {600.0, 100.0, 60, 0.0, 10.0};

std::vector<GraphLine> lines;

const GraphLineSink collect = {
    [](void* /*context*/, const GraphLine& line) { lines.push_back(line); }, nullptr};

void expectLine(const GraphLine& line, double x0, double y0, double x1, double y1) {
    EXPECT_NEAR(line.x0, x0, 1e-9);
    EXPECT_NEAR(line.y0, y0, 1e-9);
    EXPECT_NEAR(line.x1, x1, 1e-9);
    EXPECT_NEAR(line.y1, y1, 1e-9);
}

} // namespace

TEST(GraphPlot, PlacesFollowIndexAndPower) {
    EXPECT_EQ(GraphPlot_x(plot, 0), 0.0);
    EXPECT_EQ(GraphPlot_x(plot, 1), 10.0);
    EXPECT_EQ(GraphPlot_x(plot, 60), 600.0);
    EXPECT_EQ(GraphPlot_y(plot, 0.0), 100.0);
    EXPECT_EQ(GraphPlot_y(plot, 10.0), 0.0);
    EXPECT_EQ(GraphPlot_y(plot, 2.5), 75.0);
}

TEST(GraphPlot, LinesAreClippedToTheBandHalfWayBetweenTheSamples) {
    struct {
        double power0;
        double power1;
        bool isDrawn;
        GraphLine line;
    } const cases[] = {
        {1.0, 2.0, true, {0, 90, 10, 80}},   // inside
        {0.0, 10.0, true, {0, 100, 10, 0}},  // at the edges is inside
        {5.0, 11.0, true, {0, 50, 5, 0}},    // leaves above
        {11.0, 5.0, true, {5, 0, 10, 50}},   // enters from above
        {5.0, -1.0, true, {0, 50, 5, 100}},  // leaves below
        {-1.0, 5.0, true, {5, 100, 10, 50}}, // enters from below
        {-1.0, 11.0, true, {5, 100, 5, 0}},  // crosses upwards
        {11.0, -1.0, true, {5, 0, 5, 100}},  // crosses downwards
        {11.0, 12.0, false, {}},             // above
        {-1.0, -2.0, false, {}},             // below
        {NAN, 5.0, false, {}},
        {5.0, NAN, false, {}},
        {5.0, INFINITY, true, {0, 50, 5, 0}},
        {-INFINITY, INFINITY, true, {5, 100, 5, 0}},
    };
    for (const auto& test : cases) {
        GraphLine line = {};
        ASSERT_EQ(GraphPlot_clip(plot, 0.0, test.power0, 10.0, test.power1, &line), test.isDrawn)
            << test.power0 << " to " << test.power1;
        if (test.isDrawn) {
            expectLine(line, test.line.x0, test.line.y0, test.line.x1, test.line.y1);
        }
    }
}

TEST(GraphPlot, AnInvertedAxisStandsOnItsHeadButStaysInside) {
    const GraphPlotArea inverted = {600.0, 100.0, 60, 10.0, 0.0};
    EXPECT_TRUE(GraphPlot_isDrawable(inverted));
    EXPECT_EQ(GraphPlot_y(inverted, 10.0), 100.0);
    EXPECT_EQ(GraphPlot_clampPower(inverted, 12.0), 10.0);
    GraphLine line = {};
    ASSERT_TRUE(GraphPlot_clip(inverted, 0.0, 5.0, 10.0, 11.0, &line));
    expectLine(line, 0.0, 50.0, 5.0, 100.0);
}

TEST(GraphPlot, LimitsThatCannotBeSpreadAreNotDrawable) {
    const double nan = NAN;
    const double infinity = INFINITY;
    for (const auto& [yMin, yMax] :
         {std::pair{5.0, 5.0}, std::pair{nan, 5.0}, std::pair{5.0, nan}, std::pair{-infinity, 5.0},
          std::pair{5.0, infinity}, std::pair{-1.7e308, 1.7e308}}) {
        EXPECT_FALSE(GraphPlot_isDrawable({600.0, 100.0, 60, yMin, yMax}));
    }
    for (const auto& [width, height] :
         {std::pair{0.0, 0.0}, std::pair{0.0, 0.5}, std::pair{0.5, 0.0}, std::pair{-0.5, 0.5},
          std::pair{0.5, -0.5}}) {
        EXPECT_FALSE(GraphPlot_isDrawable({width, height, 60, 0.0, 10.0}));
    }
    EXPECT_TRUE(GraphPlot_isDrawable({0.5, 0.5, 60, 0.0, 0.5}));
    EXPECT_TRUE(GraphPlot_isDrawable(plot));
}

TEST(GraphPlot, SamplesBecomeOneLineForEachPair) {
    lines.clear();
    const float powers[] = {1.0F, 2.0F, 3.0F};
    GraphPlot_samples(plot, powers, 4, false, collect);
    ASSERT_EQ(lines.size(), 2U);
    expectLine(lines[0], 40.0, 90.0, 50.0, 80.0);
    expectLine(lines[1], 50.0, 80.0, 60.0, 70.0);
}

TEST(GraphPlot, SamplesAreConvertedToDBm) {
    lines.clear();
    const GraphPlotArea dBm = {600.0, 100.0, 60, 0.0, 50.0};
    const float powers[] = {1.0F, 10.0F};
    GraphPlot_samples(dBm, powers, 0, true, collect);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NEAR(lines[0].y0, 40.0, 1e-4);
    EXPECT_NEAR(lines[0].y1, 20.0, 1e-4);
}

TEST(GraphPlot, ColumnsCoverTheirPartsAndThreeQuartersOfEachNeighbour) {
    const GraphPlotArea narrow = {2.0, 100.0, 60, 0.0, 10.0};
    const auto part = [](float value) { return GraphColumn{9, value, value, value, value}; };
    const GraphColumn parts[] = {part(1.0F), part(2.0F), part(3.0F), part(4.0F),
                                 part(5.0F), part(6.0F), part(7.0F), part(8.0F)};
    GraphSpan spans[4];
    GraphPlot_columns(narrow, parts, false, spans);
    const GraphSpan expected[] = {
        {70 - 1, 90 + 1}, {30 - 1, 90 + 1}, {20 - 1, 80 + 1}, {20 - 1, 40 + 1}};
    for (size_t i = 0; i < std::size(spans); ++i) {
        EXPECT_NEAR(spans[i].top, expected[i].top, 1e-9) << i;
        EXPECT_NEAR(spans[i].bottom, expected[i].bottom, 1e-9) << i;
    }
}

TEST(GraphPlot, ColumnsAreClippedLikeLines) {
    const GraphPlotArea narrow = {1.0, 100.0, 60, 0.0, 10.0};
    constexpr GraphSpan none = {1.0, 0.0};
    struct {
        GraphColumn parts[4];
        GraphSpan span;
    } const cases[] = {
        {{{2, 5.0F, 6.0F, 5.0F, 6.0F}, {2, 7.0F, 6.0F, 6.0F, 7.0F}}, {29, 51}},
        {{{2, 5.0F, 60.0F, 5.0F, 60.0F}, {}}, {-1, 51}},    // leaves above
        {{{2, 15.0F, 60.0F, 15.0F, 60.0F}, {}}, none},      // above
        {{{2, -5.0F, -6.0F, -6.0F, -5.0F}, {}}, none},      // below
        {{{2, -5.0F, 60.0F, -5.0F, 60.0F}, {}}, {-1, 101}}, // crosses
        {{{1, 60.0F, 60.0F, 60.0F, 60.0F}, {1, -5.0F, -5.0F, -5.0F, -5.0F}}, {-1, 101}},
        {{{}, {}}, none},
    };
    for (const auto& test : cases) {
        GraphSpan spans[3];
        GraphPlot_columns(narrow, test.parts, false, spans);
        EXPECT_NEAR(spans[1].top, test.span.top, 1e-9);
        EXPECT_NEAR(spans[1].bottom, test.span.bottom, 1e-9);
    }
}

TEST(GraphPlot, EmptyPartsAreJoinedAcross) {
    const GraphPlotArea narrow = {1.0, 100.0, 60, 0.0, 10.0};
    const GraphColumn parts[] = {
        {1, 1.0F, 1.0F, 1.0F, 1.0F}, {0, NAN, NAN, NAN, NAN}, {1, 2.0F, 2.0F, 2.0F, 2.0F}};
    GraphSpan spans[3];
    GraphPlot_columns(narrow, parts, false, spans);
    EXPECT_NEAR(spans[1].top, 79.0, 1e-9);
    EXPECT_NEAR(spans[1].bottom, 91.0, 1e-9);
}
