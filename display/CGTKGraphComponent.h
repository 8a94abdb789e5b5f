#ifndef DISPLAY_CGTK_GRAPH_COMPONENT_H
#define DISPLAY_CGTK_GRAPH_COMPONENT_H

#include "GraphLayout.h"
#include "GraphPlot.h"

#include <gtk/gtk.h>

#include <cstdint>

/// The widgets of a time-power graph and the surface that its curve is drawn into. The curve stays
/// in the surface; the screen shows a copy. GDK lock held.

struct CGTKGraphComponent {
    int x;
    int y;
    int width;
    int height;
    uint32_t scaleIdxX;       ///< time scale
    uint32_t previousDataIdx; ///< last point drawn
    GdkRectangle plotAreaDimensions;
    GtkWidget* plotArea;
    cairo_surface_t* plotAreaSurface; ///< null until the area has a size
    cairo_t* plotAreaContext;         ///< draws into the surface
    GtkWidget* powerLabel;
    GtkWidget* powerButton; ///< axis title; opens the settings dialog
    GtkWidget* powerModeLabel;
    GtkWidget* powerMode; ///< "FWD" or "RFL"
    GtkWidget* timeLabel;
    GtkWidget* clearGraphLabel;
    GtkWidget* clearGraphButton;
    GtkWidget* autoScaleLabel;
    GtkWidget* autoScaleButton;
    GtkWidget* yAxisMaxLabel;
    GtkWidget* yAxisMinLabel;
    GtkWidget* xAxisMaxLabel;
    GtkWidget* xAxisMinLabel;
    uint32_t waitIndicator; ///< passes that the prefill has been waited for
};

/// What a graph's buttons and its drawing area call; `data` is handed to each.
struct GraphImageCallbacks {
    GCallback clear;
    GCallback autoScale;
    GCallback showSettings;
    /// The surface is new: what was drawn is drawn again.
    void (*redraw)(gpointer data);
    gpointer data;
};

/// Builds the graph in `container`. `name` begins the widget names ("singleGraph.graph" gives
/// "singleGraph.graph.auto"). `callbacks` is kept and lives as long as the program.
void CGTKGraphComponent_createGraphImage(CGTKGraphComponent* graph, GtkWidget* container,
                                         const char* name, const GraphLayout_t& layout,
                                         const GraphImageCallbacks& callbacks);

/// Applies a time scale: labels, and the next drawing starts from the first point.
void CGTKGraphComponent_updateTimeScale(CGTKGraphComponent* graph, uint32_t index);

/// Empties the surface.
void CGTKGraphComponent_clearGraph(CGTKGraphComponent* graph);

/// Size of the plot, which leaves two pixels free on each side; 0 x 0 while there is no surface.
void CGTKGraphComponent_getPlotSize(const CGTKGraphComponent* graph, double* width, double* height);

/// One line of the plot, from (x0, y0) to (x1, y1).
void CGTKGraphComponent_plotLine(const GdkRGBA& colour, CGTKGraphComponent* graph, double x0,
                                 double y0, double x1, double y1);

/// The samples' curve, a line between any two of them.
void CGTKGraphComponent_plotSamples(CGTKGraphComponent* graph, const GraphPlotArea& area,
                                    std::span<const float> powers_W, uint32_t first, bool isdBm);

/// The curve by pixel columns, from the one left of the plot on.
void CGTKGraphComponent_plotSpans(CGTKGraphComponent* graph, std::span<const GraphSpan> spans);

/// A limit line across the plot, on whole pixels, so that drawing it again changes nothing.
void CGTKGraphComponent_plotLimit(CGTKGraphComponent* graph, double y);

/// Tells the user that averages need some samples first: advances the indicator, or starts it anew.
void CGTKGraphComponent_updateWaitIcon(CGTKGraphComponent* graph);
void CGTKGraphComponent_restartWaitIcon(CGTKGraphComponent* graph);
void CGTKGraphComponent_drawWaitText(CGTKGraphComponent* graph);
void CGTKGraphComponent_drawWaitIndicator(CGTKGraphComponent* graph);

/// Texts of the power axis.
void CGTKGraphComponent_graphSetScale(CGTKGraphComponent* graph, const char* title,
                                      const char* maximum, const char* minimum);

/// While the settings dialog is open the graph's buttons do not answer.
void CGTKGraphComponent_setButtonsSensitive(CGTKGraphComponent* graph, bool isSensitive);

/// Has the surface shown.
void CGTKGraphComponent_queueDraw(CGTKGraphComponent* graph);

#endif
