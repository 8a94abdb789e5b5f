#ifndef DISPLAY_CW_DISPLAY_H
#define DISPLAY_CW_DISPLAY_H

#include "gtkPowerDisplay.h"
#include "gtkTimePowerGraph.h"

/// The CW screens: forward and reflected power, the match and, on those with graph, a strip chart
/// of one power. GDK lock held.

struct CGTKCWDisplay {
    CGTKPowerDisplay power;
    gtkPowerDisplay_RFPower match;
    rfMatchType_t matchType;
    bool enableMatch;
    CGTKTimePowerGraph graph; ///< its container is null on a screen without graph
};

/// Builds a CW screen in its container. Main thread, at start-up.
void CGTKPowerDisplay_Create(CGTKCWDisplay* display, const CGTKPowerDisplay_Parameters& parameters);

/// Applies the display flags, then puts one set of readings on the screen. NaN in either power
/// leaves all texts as they were.
void CGTKPowerDisplay_updateMeasurements(CGTKCWDisplay* display,
                                         const SENSOR_MEASUREMENTS& measurements);

/// Shows and hides the lines after the display flags of the settings.
void CGTKPowerDisplay_updateLines(CGTKCWDisplay* display);

/// Blanks every value, so that no number of the previous sensor is taken for a reading.
void CGTKPowerDisplay_clearMeasurementsToBlanks(CGTKCWDisplay* display);

#endif
