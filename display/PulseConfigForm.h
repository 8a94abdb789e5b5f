#ifndef DISPLAY_PULSE_CONFIG_FORM_H
#define DISPLAY_PULSE_CONFIG_FORM_H

#include "CKeypadManager.h"
#include "PulseConfigUnits.h"
#include "PulseConfigValidation.h"
#include "SensorTypes.h"

#include <gtk/gtk.h>

#include <array>
#include <cstdint>

/// The entries of the pulse configuration dialog, their units and the keypad that types into them.
/// Main thread, GDK lock held.

/// In the order of the "Next" key; then begin and end of each state.
enum PulseConfigEntryIndex : uint32_t {
    entryFrequency = 0,
    entryPeriod = 1,
    entryLevel = 2,
    entryDelay = 3,
    entryGateBegin = 4,
    entryGateEnd = 5,
    entryFirstState = 6,
    pulseConfigEntryCount = 14
};

constexpr uint32_t pulseConfigStateCount = 4;

struct PulseConfigEntry {
    GtkWidget* entry;
    GtkWidget* unitButton;
    PulseConfigField field;
    uint32_t state; ///< of a state's entries, from 0
    UnitEntry number;
};

/// One dialog. Both forms have the same widgets; what a form does not have is hidden in it.
struct PULSE_CONFIG_DIALOG {
    int channel; ///< SensorPort
    uint32_t triggerLevelScaleIndex;
    bool powerUnitIsdBm;            ///< the screens show dBm
    bool configUnitIsdBm;           ///< the trigger level is shown in dBm
    uint32_t configLevelScaleIndex; ///< unit of the trigger level
    float configLevelDBm;
    float configLevelWatt;
    SENSOR_CONFIGS pulseConfig; ///< being edited
    char dialogTitle[30];
    GtkWidget* pEntryTarget; ///< entry that the keypad types into; null while closed
    GtkWidget* window;
    GtkWidget* title;
    GtkWidget* form;
    GtkWidget* triggerGrid;
    GtkWidget* gateGrid;
    GtkWidget* stateGrid;
    GtkWidget* addState;
    GtkWidget* removeState;
    std::array<GtkWidget*, pulseConfigStateCount> stateLabels;
    std::array<PulseConfigEntry, pulseConfigEntryCount> entries;
    GtkWidget* frequencyAuto;
    GtkWidget* periodAuto;
    GtkWidget* levelAuto;
    GtkWidget* slopeRising;
    GtkWidget* slopeFalling;
    GtkWidget* modelGate;
    GtkWidget* modelStates;
    GtkWidget* keypad;
    GtkWidget* minusKey;
    GtkWidget* restore;
    GtkWidget* apply;
    GtkWidget* applyAndStore;
    GtkWidget* cancel;
    GtkWidget* status; ///< tells that a configuration is on its way, or why nothing answers
    GtkWidget* errorWindow;
    GtkWidget* errorText;
    GtkWidget* errorOk;
    CKeypadManager_Instance keypadManager;
    uint32_t admission; ///< of the sensor that the dialog was opened for
    bool sensorHasGone;
    bool isSending;
    guint watch; ///< source that looks whether the sensor has gone; 0 while closed
};

/// Takes the form's widgets from a builder and connects them. False, with a message, if one is
/// missing.
bool PulseConfigForm_create(PULSE_CONFIG_DIALOG* dialog, GtkBuilder* builder);

/// Puts `pulseConfig` into the widgets and shows those that its mode and its states need.
void PulseConfigForm_fill(PULSE_CONFIG_DIALOG* dialog);

/// Reads every entry into `pulseConfig`, in Hz, seconds and watts.
void updatePulseSensorConfiguration(PULSE_CONFIG_DIALOG* dialog);

/// The period entry's value in seconds, automatic or not.
double PulseConfigForm_typedPeriod_s(const PULSE_CONFIG_DIALOG* dialog);

/// Makes an entry the keypad's target, wholly selected; null ends it.
void PulseConfigForm_setTarget(PULSE_CONFIG_DIALOG* dialog, GtkWidget* entry);

/// Makes the first entry that answers the keypad's target, if there is one.
void PulseConfigForm_setFirstTarget(PULSE_CONFIG_DIALOG* dialog);

/// Makes an entry the target that cannot be taken as it is: it has a red frame until it is changed.
/// Null ends the target.
void PulseConfigForm_refuse(PULSE_CONFIG_DIALOG* dialog, GtkWidget* entry);

/// The first entry that answers and holds no number; null when there is none.
GtkWidget* PulseConfigForm_emptyEntry(const PULSE_CONFIG_DIALOG* dialog);

/// The entry that a failed rule is about.
GtkWidget* PulseConfigForm_entryOf(const PULSE_CONFIG_DIALOG* dialog,
                                   const PulseConfigFailure& failure);

/// True when a negative number may be typed into the entry; the minus key follows it.
bool fieldCanBeNegative(const PULSE_CONFIG_DIALOG* dialog, const GtkWidget* entry);

#endif
