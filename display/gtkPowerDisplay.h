#ifndef DISPLAY_GTK_POWER_DISPLAY_H
#define DISPLAY_GTK_POWER_DISPLAY_H

#include "Configuration.h"
#include "MeasurementText.h"
#include "SensorTypes.h"
#include "gtkScaleControls.h"
#include "gtkTimePowerGraph.h"

#include <gtk/gtk.h>

#include <cstdint>

/// A screen that shows one sensor's powers. All functions need the GDK lock. A widget that a screen
/// does not have is null and is skipped.

/// Title row of a screen.
struct gtkPowerDisplay_Title {
    GtkWidget* container;
    GtkWidget* sensorButton;
    GtkWidget* sensorButtonLabel;
    GtkWidget* configButton;
};

/// One value with caption and unit.
struct gtkPowerDisplay_RFPower {
    GtkWidget* container;
    GtkWidget* label;
    GtkWidget* value;
    GtkWidget* unitsButton;
    GtkWidget* unitsButtonLabel;
};

struct gtkPowerDisplay_GatedPower {
    GtkWidget* container;
    GtkWidget* meanValue;
    GtkWidget* minValue;
    GtkWidget* maxValue;
    GtkWidget* unitsButton;
    GtkWidget* unitsButtonLabel;
};

struct gtkPowerDisplay_PulseState {
    GtkWidget* container;
    GtkWidget* state;
    GtkWidget* min;
    GtkWidget* max;
    GtkWidget* mean;
    GtkWidget* unitsButton;
    GtkWidget* unitsButtonLabel;
    CGTKScaleControls scaleControls;
    CallbackData_AutoScale callbackDataAutoscale;
    rfPowerScale powerScale;
};

struct CGTKPowerDisplay {
    uint32_t sensorChannel; ///< SensorPort
    uint32_t displayIndex;  ///< 0 upper, 1 lower
    GtkWidget* container;
    gtkPowerDisplay_Title title;
    GtkWidget* pGridAttr;
    gtkPowerDisplay_RFPower fwdRFPower;
    gtkPowerDisplay_RFPower rflRFPower;
    gtkPowerDisplay_RFPower match;
    CGTKTimePowerGraph graph; ///< its container is null on a screen without graph
    CGTKScaleControls scaleControlsFwd;
    CGTKScaleControls scaleControlsRfl;
    rfPowerType powerType;
    rfMatchType_t matchType;
    rfPowerScale scaleFwd;
    rfPowerScale scaleRfl;
    bool enableFwd;
    bool enableRfl;
    bool enableMatch;
    CallbackData_AutoScale callbackDataAutoscaleFwd;
    CallbackData_AutoScale callbackDataAutoscaleRfl;
    gtkPowerDisplay_RFPower period;
    gtkPowerDisplay_RFPower repeat;
    gtkPowerDisplay_RFPower width;
    gtkPowerDisplay_RFPower dutyCycleVal;
    gtkPowerDisplay_RFPower frequency;
    GtkWidget* pGridGated;
    gtkPowerDisplay_GatedPower gatedPower;
    rfPowerScale gatedPowerScale;
    CallbackData_AutoScale callbackDataAutoscaleGatedPower;
    CGTKScaleControls scaleControlsGatedPower;
    GtkWidget* pGridState;
    gtkPowerDisplay_PulseState stateArray[pulseStateCount];
};

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

struct CGTKPowerDisplay_Parameters {
    const char* name;
    const char* widgetName; ///< begins the names of all its widgets: "single" gives "single.title"
    uint32_t sensorChannel;
    uint32_t displayIndex;
    GtkWidget* container;
    void (*callbackMeasFunction)(GtkWidget* button, gpointer display);
    void (*callbackSensorInfoFunction)(GtkWidget* button, gpointer display);
    ChannelLayoutIndex layout;
    int yLinePositions[6]; ///< pixels from the top of the container
    int yOffset;           ///< pixels added to each
};

/// Layout of a pulse screen.
enum pwrDisplayMode : uint32_t {
    modeSingleSimple = 0,
    modeDualSimple = 1,
    modeSingleMulti = 2,
    modeDualMulti = 3
};

/// Builds a CW screen in its container. Main thread, at start-up.
void CGTKPowerDisplay_Create(CGTKPowerDisplay* display,
                             const CGTKPowerDisplay_Parameters& parameters);

/// Shows or hides a line with its scale buttons. A visible line in dBm leaves them hidden.
/// `scaleControls` may be null.
void gtkPowerDisplay_setVisible(gtkPowerDisplay_RFPower* line, CGTKScaleControls* scaleControls,
                                bool visible);

void CGTKPowerDisplay_setDisplayIndex(CGTKPowerDisplay* display, uint32_t displayIndex);
uint32_t CGTKPowerDisplay_getDisplayIndex(const CGTKPowerDisplay* display);
void CGTKPowerDisplay_setSensorChannel(CGTKPowerDisplay* display, uint32_t port);
uint32_t CGTKPowerDisplay_getSensorChannel(const CGTKPowerDisplay* display);

/// True when a widget of the screen has the keyboard focus.
bool CGTKPowerDisplay_getFocusState(const CGTKPowerDisplay* display);

/// Copies the stored scales of the display's index and sets both auto icons.
void CGTKPowerDisplay_updateScale(CGTKPowerDisplay* display);

/// Text of the sensor button, at most `maxLength` and never more than 30 characters; `label` has
/// room for that and a terminator.
void CGTKPowerDisplay_getSensorLabel(const CGTKPowerDisplay* display, char* label,
                                     uint32_t maxLength);
void CGTKPowerDisplay_setSensorLabel(CGTKPowerDisplay* display, uint32_t maxLength);

/// Applies the display flags, then puts one set of readings on a CW screen. NaN in either power
/// leaves all texts as they were.
void CGTKPowerDisplay_updateMeasurements(CGTKPowerDisplay* display,
                                         const SENSOR_MEASUREMENTS& measurements);

/// What CW and pulse screens have in common. loadSettings refreshes what the display keeps of the
/// settings; updatePower puts one forward (0) or reflected (1) power, which must be a number, on
/// its line; logMeasurements writes the readings into the log.
void CGTKPowerDisplay_loadSettings(CGTKPowerDisplay* display);
void CGTKPowerDisplay_updatePower(CGTKPowerDisplay* display, uint32_t direction, float power_W);
void CGTKPowerDisplay_logMeasurements(const SENSOR_MEASUREMENTS& measurements);

/// "clicked" handler of the unit buttons: switches all screens between watts and dBm.
void CGTKPowerDisplay_switchPowerUnits(GtkWidget* button, gpointer data);

/// Shows and hides the lines after the display flags of the settings.
void CGTKPowerDisplay_updateLines(CGTKPowerDisplay* display);

/// Blanks every value, so that no number of the previous sensor is taken for a reading.
void CGTKPowerDisplay_clearMeasurementsToBlanks(CGTKPowerDisplay* display);

#endif
