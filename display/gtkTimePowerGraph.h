#ifndef DISPLAY_GTK_TIME_POWER_GRAPH_H
#define DISPLAY_GTK_TIME_POWER_GRAPH_H

#include "CGTKGraphComponent.h"
#include "CGraphData.h"
#include "Configuration.h"
#include "auto_range.h"

#include <gtk/gtk.h>

#include <cstdint>

/// The strip chart of one power over time: a point a second from the display's buffer, on a time
/// axis that grows from a minute to a day. New points are added to what is drawn already; only a
/// change of settings, of the time scale or a buffer that has shrunk starts the drawing anew.
/// GDK lock held.

struct CGTKPowerDisplay;

struct CGTKTimePowerGraph {
    char name[32];
    CGTKPowerDisplay* mpOwner; ///< supplies the port and the display index
    GtkWidget* container;      ///< null for a display without graph
    uint32_t sampleCount;      ///< points at the last update
    CGTKGraphComponent graph;
    CGraphData* pData;
    GraphSettings_t settings; ///< of the owner's display
    bool invalidate;          ///< settings are read again and the chart is drawn from scratch
    uint32_t scale;           ///< power range of the axis texts
    bool isdBm;               ///< unit of the axis
    GraphImageCallbacks callbacks;
};

/// Opening the settings dialog belongs to the dialog, which registers itself here.
void CGTKTimePowerGraph_registerSettingsDialog(void (*show)(CGTKTimePowerGraph* graph));

/// Builds the graph in its place on the owner's screen. `name` begins the widget names.
void CGTKTimePowerGraph_create(CGTKTimePowerGraph* graph, CGTKPowerDisplay* owner, const char* name,
                               GtkWidget* container, const GraphLayout_t& layout);

void CGTKTimePowerGraph_setName(CGTKTimePowerGraph* graph, const char* name);

/// Shows another buffer from now on.
void CGTKTimePowerGraph_setGraphDataInstance(CGTKTimePowerGraph* graph, CGraphData* buffer);

/// Brings the chart up to date with its buffer and the settings.
void CGTKTimePowerGraph_update(CGTKTimePowerGraph* graph);

/// Empties buffer and drawing: the chart restarts with one minute.
void CGTKTimePowerGraph_reset(CGTKTimePowerGraph* graph);
void CGTKTimePowerGraph_resetDrawing(CGTKTimePowerGraph* graph);

/// Has the settings read again and the chart drawn from scratch at the next update.
void CGTKTimePowerGraph_invalidateGraph(CGTKTimePowerGraph* graph);

/// The same for every graph that shows a display, on the full and the half screens.
void CGTKTimePowerGraph_invalidateDisplay(uint32_t displayIndex);

/// Fits the power axis to the data and stores it; nothing happens without data.
void CGTKTimePowerGraph_autoScale(CGTKTimePowerGraph* graph);

/// The range that the power's scale names, for texts in its unit.
const DISPLAY_RANGE_FORMAT& CGTKTimePowerGraph_getRange(const CGTKTimePowerGraph* graph);

#endif
