#ifndef DISPLAY_PULSE_MEASUREMENTS_H
#define DISPLAY_PULSE_MEASUREMENTS_H

#include "PulseDisplay.h"

/// The readings on the pulse screens. GDK lock held. A widget that a screen lacks is skipped.

/// Refreshes a pulse screen from the settings, the sensor's pulse configuration and one set of
/// readings. NaN in forward or reflected power leaves both their texts as they were.
void CGTKPowerDisplay_updatePulseMeasurements(CGTKPulseDisplay* display,
                                              const SENSOR_MEASUREMENTS& measurements);

/// Blanks every value, so that no number of the previous sensor is taken for a reading.
void CGTKPowerDisplay_clearPulseMeasurementsToBlanks(CGTKPulseDisplay* display);

#endif
