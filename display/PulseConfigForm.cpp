#include "PulseConfigForm.h"

#include "AppFlags.h"
#include "DialogHelpers.h"
#include "GtkHelpers.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr char targetClass[] = "target";

/// The dialog that the keypad's text goes to.
PULSE_CONFIG_DIALOG* typingDialog = nullptr;

struct EntryRow {
    const char* id;
    PulseConfigField field;
    uint32_t state;
    UnitKind kind;
};

constexpr std::array<EntryRow, pulseConfigEntryCount> entryRows = {{
    {"pulseConfigFrequency", PulseConfigField::frequency, 0, UnitKind::frequency},
    {"pulseConfigPeriod", PulseConfigField::period, 0, UnitKind::time},
    {"pulseConfigLevel", PulseConfigField::level, 0, UnitKind::power},
    {"pulseConfigDelay", PulseConfigField::delay, 0, UnitKind::time},
    {"pulseConfigGateBegin", PulseConfigField::gateBegin, 0, UnitKind::time},
    {"pulseConfigGateEnd", PulseConfigField::gateEnd, 0, UnitKind::time},
    {"pulseConfigStateBegin1", PulseConfigField::stateBegin, 0, UnitKind::time},
    {"pulseConfigStateEnd1", PulseConfigField::stateEnd, 0, UnitKind::time},
    {"pulseConfigStateBegin2", PulseConfigField::stateBegin, 1, UnitKind::time},
    {"pulseConfigStateEnd2", PulseConfigField::stateEnd, 1, UnitKind::time},
    {"pulseConfigStateBegin3", PulseConfigField::stateBegin, 2, UnitKind::time},
    {"pulseConfigStateEnd3", PulseConfigField::stateEnd, 2, UnitKind::time},
    {"pulseConfigStateBegin4", PulseConfigField::stateBegin, 3, UnitKind::time},
    {"pulseConfigStateEnd4", PulseConfigField::stateEnd, 3, UnitKind::time},
}};

struct WidgetRow {
    const char* id;
    GtkWidget* PULSE_CONFIG_DIALOG::*field;
};

constexpr WidgetRow widgetRows[] = {
    {"pulseConfigForm", &PULSE_CONFIG_DIALOG::form},
    {"pulseConfigTriggerGrid", &PULSE_CONFIG_DIALOG::triggerGrid},
    {"pulseConfigGateGrid", &PULSE_CONFIG_DIALOG::gateGrid},
    {"pulseConfigStateGrid", &PULSE_CONFIG_DIALOG::stateGrid},
    {"pulseConfigAddState", &PULSE_CONFIG_DIALOG::addState},
    {"pulseConfigRemoveState", &PULSE_CONFIG_DIALOG::removeState},
    {"pulseConfigFrequencyAuto", &PULSE_CONFIG_DIALOG::frequencyAuto},
    {"pulseConfigPeriodAuto", &PULSE_CONFIG_DIALOG::periodAuto},
    {"pulseConfigLevelAuto", &PULSE_CONFIG_DIALOG::levelAuto},
    {"pulseConfigSlopeRising", &PULSE_CONFIG_DIALOG::slopeRising},
    {"pulseConfigSlopeFalling", &PULSE_CONFIG_DIALOG::slopeFalling},
    {"pulseConfigModelGate", &PULSE_CONFIG_DIALOG::modelGate},
    {"pulseConfigModelStates", &PULSE_CONFIG_DIALOG::modelStates},
    {"pulseConfigKeypad", &PULSE_CONFIG_DIALOG::keypad},
    {"pulseConfigKeyMinus", &PULSE_CONFIG_DIALOG::minusKey},
};

/// Digits are evAddChar with their character; "Next" is no event of the keypad.
struct Key {
    const char* id;
    CKeypadManager_Event event;
};

constexpr Key keys[] = {
    {"pulseConfigKey0", {evAddChar, '0'}},      {"pulseConfigKey1", {evAddChar, '1'}},
    {"pulseConfigKey2", {evAddChar, '2'}},      {"pulseConfigKey3", {evAddChar, '3'}},
    {"pulseConfigKey4", {evAddChar, '4'}},      {"pulseConfigKey5", {evAddChar, '5'}},
    {"pulseConfigKey6", {evAddChar, '6'}},      {"pulseConfigKey7", {evAddChar, '7'}},
    {"pulseConfigKey8", {evAddChar, '8'}},      {"pulseConfigKey9", {evAddChar, '9'}},
    {"pulseConfigKeyPeriod", {evDecimal, '.'}}, {"pulseConfigKeyClear", {evClear, '\0'}},
    {"pulseConfigKeyBack", {evBackSp, '\0'}},   {"pulseConfigKeyMinus", {evSign, '\0'}},
};

const char* textOf(const PulseConfigEntry& entry) {
    return gtk_entry_get_text(GTK_ENTRY(entry.entry));
}

double valueOf(const PulseConfigEntry& entry) {
    return UnitEntry_value(entry.number, textOf(entry));
}

float floatOf(const PULSE_CONFIG_DIALOG* dialog, uint32_t index) {
    return PulseConfigUnits_toFloat(valueOf(dialog->entries[index]));
}

bool isActive(GtkWidget* toggle) {
    return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(toggle)) != 0;
}

void setActive(GtkWidget* toggle, bool active) {
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(toggle), active);
}

PulseConfigEntry* findEntry(PULSE_CONFIG_DIALOG* dialog, const GtkWidget* widget) {
    for (PulseConfigEntry& entry : dialog->entries) {
        if (entry.entry == widget || entry.unitButton == widget) {
            return &entry;
        }
    }
    return nullptr;
}

void showNumber(const PulseConfigEntry& entry) {
    gtk_entry_set_text(GTK_ENTRY(entry.entry), entry.number.shownText);
    gtk_button_set_label(GTK_BUTTON(entry.unitButton),
                         PulseConfigUnits_text(entry.number.kind, entry.number.unit));
}

/// What the record tells of the trigger level follows its entry.
void noteLevel(PULSE_CONFIG_DIALOG* dialog) {
    const PulseConfigEntry& level = dialog->entries[entryLevel];
    const double power_W = valueOf(level);
    dialog->configLevelScaleIndex = level.number.unit;
    dialog->triggerLevelScaleIndex = level.number.unit;
    dialog->configUnitIsdBm = level.number.unit == powerUnitDBm;
    dialog->configLevelWatt = PulseConfigUnits_toFloat(power_W);
    dialog->configLevelDBm = PulseConfigUnits_toFloat(cvtWatt2dBm(std::max(power_W, 0.0)));
}

/// Gates, delays and states are a matter of microseconds.
constexpr uint32_t unitMicroseconds = 2;

void setNumber(PulseConfigEntry& entry, double value) {
    const bool isNoTime = entry.number.kind == UnitKind::time && value == 0.0;
    UnitEntry_set(&entry.number, value,
                  isNoTime ? unitMicroseconds
                           : PulseConfigUnits_bestUnit(entry.number.kind, value));
    showNumber(entry);
}

/// Marks what the keypad's next key replaces, or nothing.
void markText(GtkWidget* entry, bool isMarked) {
    gtk_editable_set_position(GTK_EDITABLE(entry), -1);
    if (isMarked) {
        gtk_editable_select_region(GTK_EDITABLE(entry), 0, -1);
    }
}

/// Writes the keypad's text into the entry that it edits.
void updateTarget(const char* text, bool isSelected) {
    GtkWidget* target = typingDialog != nullptr ? typingDialog->pEntryTarget : nullptr;
    if (target != nullptr) {
        gtk_entry_set_text(GTK_ENTRY(target), text);
        markText(target, isSelected);
    }
}

void updateMinusKey(PULSE_CONFIG_DIALOG* dialog) {
    gtk_widget_set_sensitive(dialog->minusKey,
                             dialog->pEntryTarget != nullptr &&
                                 fieldCanBeNegative(dialog, dialog->pEntryTarget));
}

/// Only what is measured is shown.
void showMode(PULSE_CONFIG_DIALOG* dialog) {
    const SENSOR_CONFIGS& config = dialog->pulseConfig;
    const bool showsStates = config.bSupportsTriggeredGates && config.bModelIsTriggeredGates;
    setWidgetVisible(dialog->triggerGrid, config.bSupportsTriggeredGates);
    setWidgetVisible(dialog->gateGrid, !showsStates);
    setWidgetVisible(dialog->stateGrid, showsStates);
    for (uint32_t i = 0; i < pulseConfigStateCount; ++i) {
        const bool isShown = i < config.numStates;
        setWidgetVisible(dialog->stateLabels[i], isShown);
        for (uint32_t index = entryFirstState + 2 * i; index < entryFirstState + 2 * i + 2;
             ++index) {
            setWidgetVisible(dialog->entries[index].entry, isShown);
            setWidgetVisible(dialog->entries[index].unitButton, isShown);
        }
    }
    gtk_widget_set_sensitive(dialog->addState, config.numStates < pulseConfigStateCount);
    gtk_widget_set_sensitive(dialog->removeState, config.numStates > 0);
}

/// The sensor finds these itself. The period's number stays in use: it limits the states.
void showAutomatic(PULSE_CONFIG_DIALOG* dialog) {
    const bool frequency = !isActive(dialog->frequencyAuto);
    const bool level = !isActive(dialog->levelAuto);
    gtk_widget_set_sensitive(dialog->entries[entryFrequency].entry, frequency);
    gtk_widget_set_sensitive(dialog->entries[entryFrequency].unitButton, frequency);
    gtk_widget_set_sensitive(dialog->entries[entryLevel].entry, level);
    gtk_widget_set_sensitive(dialog->entries[entryLevel].unitButton, level);
}

bool canBeTarget(const PulseConfigEntry& entry) {
    return gtk_widget_is_visible(entry.entry) != 0 && gtk_widget_get_sensitive(entry.entry) != 0;
}

/// The first entry that answers from this index on, all round.
GtkWidget* nextEntry(const PULSE_CONFIG_DIALOG* dialog, size_t from) {
    for (size_t step = 0; step < dialog->entries.size(); ++step) {
        const PulseConfigEntry& entry = dialog->entries[(from + step) % dialog->entries.size()];
        if (canBeTarget(entry)) {
            return entry.entry;
        }
    }
    return nullptr;
}

/// A target that has been hidden or switched off gives way to the next entry.
void keepTargetUsable(PULSE_CONFIG_DIALOG* dialog) {
    const PulseConfigEntry* entry = findEntry(dialog, dialog->pEntryTarget);
    if (entry != nullptr && !canBeTarget(*entry)) {
        PulseConfigForm_setTarget(
            dialog, nextEntry(dialog, static_cast<size_t>(entry - dialog->entries.data())));
    }
}

/// An entry that was refused has been changed: nothing is told of it any more.
void forgetRefusal(GtkWidget* entry, gpointer data) {
    if (gtk_style_context_has_class(gtk_widget_get_style_context(entry), dialogRefusedClass) !=
        FALSE) {
        setWidgetClass(entry, dialogRefusedClass, false);
        setLabelText(static_cast<PULSE_CONFIG_DIALOG*>(data)->status, "");
    }
}

gboolean pressEntry(GtkWidget* entry, GdkEvent* /*event*/, gpointer data) {
    if (gtk_init_done) {
        PulseConfigForm_setTarget(static_cast<PULSE_CONFIG_DIALOG*>(data), entry);
    }
    return TRUE;
}

void tapUnit(GtkWidget* button, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    PulseConfigEntry* entry = findEntry(dialog, button);
    if (!gtk_init_done || entry == nullptr) {
        return;
    }
    UnitEntry_nextUnit(&entry->number, textOf(*entry));
    showNumber(*entry);
    noteLevel(dialog);
    if (dialog->pEntryTarget == entry->entry) {
        PulseConfigForm_setTarget(dialog, entry->entry);
    }
}

void tapKey(GtkWidget* button, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    if (!gtk_init_done || dialog->pEntryTarget == nullptr) {
        return;
    }
    for (const Key& key : keys) {
        if (strcmp(gtk_widget_get_name(button), key.id) == 0) {
            CKeypadManager_HandleEvent(&dialog->keypadManager, key.event);
            noteLevel(dialog);
        }
    }
}

void tapNext(GtkWidget* /*button*/, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    const PulseConfigEntry* entry = findEntry(dialog, dialog->pEntryTarget);
    if (gtk_init_done && entry != nullptr) {
        const auto index = static_cast<size_t>(entry - dialog->entries.data());
        PulseConfigForm_setTarget(dialog, nextEntry(dialog, index + 1));
    }
}

void toggleModel(GtkWidget* /*button*/, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    dialog->pulseConfig.bModelIsTriggeredGates = isActive(dialog->modelStates);
    showMode(dialog);
    keepTargetUsable(dialog);
}

void toggleAutomatic(GtkWidget* /*button*/, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    showAutomatic(dialog);
    keepTargetUsable(dialog);
}

void tapAddState(GtkWidget* /*button*/, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    uint8_t& count = dialog->pulseConfig.numStates;
    if (gtk_init_done && count < pulseConfigStateCount) {
        ++count;
        showMode(dialog);
        PulseConfigForm_setTarget(dialog,
                                  dialog->entries[entryFirstState + 2U * (count - 1U)].entry);
    }
}

/// The last state goes.
void tapRemoveState(GtkWidget* /*button*/, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    uint8_t& count = dialog->pulseConfig.numStates;
    if (gtk_init_done && count > 0) {
        --count;
        showMode(dialog);
        keepTargetUsable(dialog);
    }
}

bool takeEntries(PULSE_CONFIG_DIALOG* dialog, GtkBuilder* builder) {
    bool isComplete = true;
    for (size_t i = 0; i < entryRows.size(); ++i) {
        const EntryRow& row = entryRows[i];
        char unitId[40];
        std::snprintf(unitId, sizeof unitId, "%sUnit", row.id);
        PulseConfigEntry& entry = dialog->entries[i];
        entry = {};
        entry.entry = Dialog_widget(builder, row.id);
        entry.unitButton = Dialog_widget(builder, unitId);
        entry.field = row.field;
        entry.state = row.state;
        entry.number.kind = row.kind;
        isComplete = isComplete && entry.entry != nullptr && entry.unitButton != nullptr;
    }
    return isComplete;
}

bool takeWidgets(PULSE_CONFIG_DIALOG* dialog, GtkBuilder* builder) {
    bool isComplete = true;
    for (const WidgetRow& row : widgetRows) {
        dialog->*row.field = Dialog_widget(builder, row.id);
        isComplete = isComplete && dialog->*row.field != nullptr;
    }
    for (uint32_t i = 0; i < pulseConfigStateCount; ++i) {
        char id[40];
        std::snprintf(id, sizeof id, "pulseConfigStateLabel%u", i + 1);
        dialog->stateLabels[i] = Dialog_widget(builder, id);
    }
    return isComplete;
}

void connectForm(PULSE_CONFIG_DIALOG* dialog) {
    for (const PulseConfigEntry& entry : dialog->entries) {
        g_signal_connect(entry.entry, "button-press-event", G_CALLBACK(pressEntry), dialog);
        g_signal_connect(entry.entry, "changed", G_CALLBACK(forgetRefusal), dialog);
        Dialog_fitEntry(entry.entry);
        g_signal_connect(entry.unitButton, "clicked", G_CALLBACK(tapUnit), dialog);
    }
    g_signal_connect(dialog->modelStates, "toggled", G_CALLBACK(toggleModel), dialog);
    for (GtkWidget* box : {dialog->frequencyAuto, dialog->periodAuto, dialog->levelAuto}) {
        g_signal_connect(box, "toggled", G_CALLBACK(toggleAutomatic), dialog);
    }
    g_signal_connect(dialog->addState, "clicked", G_CALLBACK(tapAddState), dialog);
    g_signal_connect(dialog->removeState, "clicked", G_CALLBACK(tapRemoveState), dialog);
}

void connectKeys(PULSE_CONFIG_DIALOG* dialog, GtkBuilder* builder) {
    for (const Key& key : keys) {
        GtkWidget* button = Dialog_widget(builder, key.id);
        if (button != nullptr) {
            g_signal_connect(button, "clicked", G_CALLBACK(tapKey), dialog);
        }
    }
    Dialog_setPicture(builder, "pulseConfigKeyImageClear", "./resources/graphKeypadClear.png");
    Dialog_setPicture(builder, "pulseConfigKeyImageBackspace",
                      "./resources/graphKeypadBackspace.png");
    Dialog_setPicture(builder, "pulseConfigKeyImageNext", "./resources/graphKeypadNext.png");
    GtkWidget* next = Dialog_widget(builder, "pulseConfigKeyNext");
    if (next != nullptr) {
        g_signal_connect(next, "clicked", G_CALLBACK(tapNext), dialog);
    }
}

} // namespace

bool PulseConfigForm_create(PULSE_CONFIG_DIALOG* dialog, GtkBuilder* builder) {
    const bool hasEntries = takeEntries(dialog, builder);
    if (!takeWidgets(dialog, builder) || !hasEntries) {
        return false;
    }
    connectForm(dialog);
    connectKeys(dialog, builder);
    CKeypadManager_Create(&dialog->keypadManager, updateTarget, keypadNumber);
    return true;
}

void PulseConfigForm_fill(PULSE_CONFIG_DIALOG* dialog) {
    for (const PulseConfigEntry& entry : dialog->entries) {
        forgetRefusal(entry.entry, dialog);
    }
    // The toggles' handlers write into the configuration.
    const SENSOR_CONFIGS config = dialog->pulseConfig;
    setActive(dialog->frequencyAuto, config.bAutoFrequency);
    setActive(dialog->periodAuto, config.bAutoPeriod);
    setActive(dialog->levelAuto, config.bAutoTriggerLevel);
    setActive(config.trigSlope == 1 ? dialog->slopeRising : dialog->slopeFalling, true);
    setActive(config.bModelIsTriggeredGates ? dialog->modelStates : dialog->modelGate, true);
    dialog->pulseConfig = config;
    setNumber(dialog->entries[entryFrequency], config.freqVal);
    setNumber(dialog->entries[entryPeriod], config.prdVal);
    setNumber(dialog->entries[entryLevel], config.trigLevelVal);
    if (dialog->powerUnitIsdBm) {
        UnitEntry_set(&dialog->entries[entryLevel].number, config.trigLevelVal, powerUnitDBm);
        showNumber(dialog->entries[entryLevel]);
    }
    setNumber(dialog->entries[entryDelay], config.trigDelayVal);
    setNumber(dialog->entries[entryGateBegin], config.gateBegin);
    setNumber(dialog->entries[entryGateEnd], config.gateEnd);
    for (uint32_t i = 0; i < pulseConfigStateCount; ++i) {
        setNumber(dialog->entries[entryFirstState + 2 * i], config.pulseStates[i].begin);
        setNumber(dialog->entries[entryFirstState + 2 * i + 1], config.pulseStates[i].end);
    }
    noteLevel(dialog);
    showAutomatic(dialog);
    showMode(dialog);
}

void updatePulseSensorConfiguration(PULSE_CONFIG_DIALOG* dialog) {
    SENSOR_CONFIGS& config = dialog->pulseConfig;
    config.bAutoFrequency = isActive(dialog->frequencyAuto);
    config.freqVal = floatOf(dialog, entryFrequency);
    config.bAutoPeriod = isActive(dialog->periodAuto);
    config.prdVal = floatOf(dialog, entryPeriod);
    config.bAutoTriggerLevel = isActive(dialog->levelAuto);
    config.trigLevelVal = floatOf(dialog, entryLevel);
    config.trigDelayVal = floatOf(dialog, entryDelay);
    config.trigSlope = isActive(dialog->slopeRising) ? 1 : 0;
    config.bModelIsTriggeredGates = isActive(dialog->modelStates);
    config.gateBegin = floatOf(dialog, entryGateBegin);
    config.gateEnd = floatOf(dialog, entryGateEnd);
    for (uint32_t i = 0; i < pulseConfigStateCount; ++i) {
        config.pulseStates[i] = {.bEnabled = i < config.numStates,
                                 .begin = floatOf(dialog, entryFirstState + 2 * i),
                                 .end = floatOf(dialog, entryFirstState + 2 * i + 1)};
    }
}

double PulseConfigForm_typedPeriod_s(const PULSE_CONFIG_DIALOG* dialog) {
    return valueOf(dialog->entries[entryPeriod]);
}

void PulseConfigForm_setTarget(PULSE_CONFIG_DIALOG* dialog, GtkWidget* entry) {
    if (dialog->pEntryTarget != nullptr) {
        setWidgetClass(dialog->pEntryTarget, targetClass, false);
        markText(dialog->pEntryTarget, false);
    }
    dialog->pEntryTarget = entry;
    typingDialog = entry != nullptr ? dialog : nullptr;
    if (entry != nullptr) {
        setWidgetClass(entry, targetClass, true);
        markText(entry, true);
        CKeypadManager_HandleNextField(&dialog->keypadManager,
                                       gtk_entry_get_text(GTK_ENTRY(entry)));
    }
    gtk_widget_set_sensitive(dialog->keypad, entry != nullptr);
    updateMinusKey(dialog);
}

void PulseConfigForm_setFirstTarget(PULSE_CONFIG_DIALOG* dialog) {
    PulseConfigForm_setTarget(dialog, nextEntry(dialog, 0));
}

void PulseConfigForm_refuse(PULSE_CONFIG_DIALOG* dialog, GtkWidget* entry) {
    PulseConfigForm_setTarget(dialog, entry);
    if (entry != nullptr) {
        setWidgetClass(entry, dialogRefusedClass, true);
    }
}

GtkWidget* PulseConfigForm_emptyEntry(const PULSE_CONFIG_DIALOG* dialog) {
    for (const PulseConfigEntry& entry : dialog->entries) {
        if (canBeTarget(entry) && !Dialog_holdsNumber(entry.entry)) {
            return entry.entry;
        }
    }
    return nullptr;
}

GtkWidget* PulseConfigForm_entryOf(const PULSE_CONFIG_DIALOG* dialog,
                                   const PulseConfigFailure& failure) {
    for (const PulseConfigEntry& entry : dialog->entries) {
        if (entry.field == failure.field && entry.state == failure.state) {
            return entry.entry;
        }
    }
    return nullptr;
}

bool fieldCanBeNegative(const PULSE_CONFIG_DIALOG* dialog, const GtkWidget* entry) {
    for (const PulseConfigEntry& one : dialog->entries) {
        if (one.entry == entry) {
            return PulseConfigValidation_canBeNegative(one.field, dialog->configUnitIsdBm);
        }
    }
    return false;
}
