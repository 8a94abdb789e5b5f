#ifndef REMOTE_SCPI_CALLBACK_H
#define REMOTE_SCPI_CALLBACK_H

#include "scpi/scpi.h"

/// The handlers of the command set. Each runs on the thread of the link that received the command.

// Common commands, status and identity.
scpi_result_t SCPI_ClearStatusCmd(scpi_t* context);
scpi_result_t SCPI_IdentCmd(scpi_t* context);
scpi_result_t SCPI_ResetCmd(scpi_t* context);
scpi_result_t My_CoreTstQ(scpi_t* context);
scpi_result_t SCPI_SystemVersion(scpi_t* context);
scpi_result_t SCPI_StatusPresetCmd(scpi_t* context);
scpi_result_t SCPI_SystemIdentifyModel(scpi_t* context);
scpi_result_t SCPI_SystemIdentifySerial(scpi_t* context);
scpi_result_t SCPI_SystemIdentifyFirmware(scpi_t* context);
scpi_result_t SCPI_SystemIdentifySensorModel(scpi_t* context);
scpi_result_t SCPI_SystemIdentifySensorSerial(scpi_t* context);
scpi_result_t SCPI_SystemIdentifySensorFirmware(scpi_t* context);

// Measurements.
scpi_result_t SCPI_MeasureTemperatureQ(scpi_t* context);
scpi_result_t SCPI_MeasurePowerFreqQ(scpi_t* context);
scpi_result_t SCPI_MeasurePowerPulseQ(scpi_t* context);
scpi_result_t SCPI_MeasurePowerAverageQ(scpi_t* context);
scpi_result_t SCPI_MeasurePowerGateQ(scpi_t* context);
scpi_result_t SCPI_MeasurePowerStateQ(scpi_t* context);

// Pulse configuration: the remote working copy.
scpi_result_t SCPI_CalculatePulseModel(scpi_t* context);
scpi_result_t SCPI_CalculatePulseModelQ(scpi_t* context);
scpi_result_t SCPI_CalculateStateEnable(scpi_t* context);
scpi_result_t SCPI_CalculateStateEnableQ(scpi_t* context);
scpi_result_t SCPI_CalculateStateDelay(scpi_t* context);
scpi_result_t SCPI_CalculateStateDelayQ(scpi_t* context);
scpi_result_t SCPI_CalculateGateDelay(scpi_t* context);
scpi_result_t SCPI_CalculateGateDelayQ(scpi_t* context);
scpi_result_t SCPI_SenseFrequencyAuto(scpi_t* context);
scpi_result_t SCPI_SenseFrequencyAutoQ(scpi_t* context);
scpi_result_t SCPI_SenseFrequency(scpi_t* context);
scpi_result_t SCPI_SenseFrequencyQ(scpi_t* context);
scpi_result_t SCPI_SensePeriodAuto(scpi_t* context);
scpi_result_t SCPI_SensePeriodAutoQ(scpi_t* context);
scpi_result_t SCPI_SensePeriod(scpi_t* context);
scpi_result_t SCPI_SensePeriodQ(scpi_t* context);
scpi_result_t SCPI_TriggerLevelAuto(scpi_t* context);
scpi_result_t SCPI_TriggerLevelAutoQ(scpi_t* context);
scpi_result_t SCPI_TriggerLevel(scpi_t* context);
scpi_result_t SCPI_TriggerLevelQ(scpi_t* context);
scpi_result_t SCPI_TriggerSlope(scpi_t* context);
scpi_result_t SCPI_TriggerSlopeQ(scpi_t* context);
scpi_result_t SCPI_TriggerDelay(scpi_t* context);
scpi_result_t SCPI_TriggerDelayQ(scpi_t* context);
scpi_result_t SCPI_SystemPulseEnable(scpi_t* context);
scpi_result_t SCPI_SystemPulseEnableQ(scpi_t* context);
scpi_result_t SCPI_SystemPulseConfigSync(scpi_t* context);
scpi_result_t SCPI_SystemPulseConfigCommit(scpi_t* context);

// The serial command port. One handler for set and query: a question mark anywhere in the received
// line makes it a query.
scpi_result_t SCPI_SystemCommRs232Baud(scpi_t* context);
scpi_result_t SCPI_SystemCommRs232Length(scpi_t* context);
scpi_result_t SCPI_SystemCommRs232Stopbits(scpi_t* context);
scpi_result_t SCPI_SystemCommRs232Parity(scpi_t* context);
scpi_result_t SCPI_SystemCommRs232Flowcontrol(scpi_t* context);
scpi_result_t SCPI_SystemCommRs232Restart(scpi_t* context);

// The LAN interface; set and query as above.
scpi_result_t SCPI_SystemCommLanAddress(scpi_t* context);
scpi_result_t SCPI_SystemCommLanGateway(scpi_t* context);
scpi_result_t SCPI_SystemCommLanMask(scpi_t* context);
scpi_result_t SCPI_SystemCommLanDhcpState(scpi_t* context);
scpi_result_t SCPI_SystemCommLanMac(scpi_t* context);
scpi_result_t SCPI_SystemCommLanRestart(scpi_t* context);
scpi_result_t SCPI_SystemPreset(scpi_t* context);

#endif
