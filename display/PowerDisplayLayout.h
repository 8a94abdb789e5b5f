#ifndef DISPLAY_POWER_DISPLAY_LAYOUT_H
#define DISPLAY_POWER_DISPLAY_LAYOUT_H

#include "gtkScaleControls.h"

#include <array>
#include <cstdint>

/// Where everything stands on the CW screens, in pixels, within the full screen or the half that
/// ScreenSize.h leaves below the status line.

enum ChannelLayoutIndex : uint32_t {
    layoutSingleChannel = 0,
    layoutSingleChannelWithGraph = 1,
    layoutDualChannel = 2,
    layoutDualChannelWithGraph = 3
};

/// Lines of a CW screen, in `yLinePositions`.
enum PowerDisplayLine : uint32_t {
    lineTitle,
    lineFwd,
    lineRfl,
    lineMatch,
    lineGraph,
    lineAttributes
};

constexpr int powerDisplayLineCount = 6;

/// The most characters that a value takes: a blank, the sign, three digits, the point and two more.
/// Values are set flush right in that width, so that their digits keep their places.
constexpr int powerValueCharacters = 8;

/// One value line; places are relative to the line's upper left corner.
struct PowerLineLayout {
    int height;
    GdkRectangle caption;
    GdkRectangle value;
    GdkRectangle units;
    GdkRectangle scale;
    int captionSize;
    int valueSize;
    int unitsSize;
};

struct PowerDisplayLayout {
    GdkRectangle sensorButton;
    GdkRectangle configButton;
    int titleSize;
    PowerLineLayout power;
    PowerLineLayout match;
    ScaleControlsLayout scaleButtons;
    GdkRectangle graph; ///< empty where there is no graph; its y is the graph line's
    std::array<int, powerDisplayLineCount> yLinePositions;
};

/// By ChannelLayoutIndex.
extern const std::array<PowerDisplayLayout, 4> gtkPowerDisplayLayout;

#endif
