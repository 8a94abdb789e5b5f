#ifndef DISPLAY_GRAPH_LAYOUT_H
#define DISPLAY_GRAPH_LAYOUT_H

#include <gtk/gtk.h>

/// Where the parts of a time-power graph stand within its place on a screen, in pixels.
struct GraphLayout_t {
    GdkRectangle containerDimensions;
    GdkRectangle powerMax;
    GdkRectangle powerLabel; ///< axis title button
    GdkRectangle powerMode;
    GdkRectangle powerMin;
    GdkRectangle autoScale;
    GdkRectangle timeMin;
    GdkRectangle timeLabel;
    GdkRectangle timeMax;
    GdkRectangle clearGraph;
    GdkRectangle drawingArea;
    int labelSize;  ///< axis texts
    int buttonSize; ///< button texts
};

extern const GraphLayout_t graphLayoutLarge; ///< under the values of the full screen
extern const GraphLayout_t graphLayoutSmall; ///< beside the values of a half screen

#endif
