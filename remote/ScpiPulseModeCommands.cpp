// The instrument's pulse mode, and what becomes of a remote working copy: it is taken from the
// sensor or sent to it.
#include "CSimpleTimer.h"
#include "Configuration.h"
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiConditions.h"
#include "ScpiErrors.h"
#include "ScpiLink.h"
#include "ScpiReaders.h"
#include "ScpiWorkingCopy.h"
#include "SensorPortHandler.h"
#include "ThreadWatch.h"
#include "UsbSensorConfig.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace {

constexpr uint32_t longestCommit_ms = 30000;
/// What a client that says no more still gets: it may be waiting for replies, or have hung up.
constexpr uint32_t lastWait_ms = 5000;

enum class CommitEnd { none, leftPulseMode, peerHasGone, timeIsUp };

/// A commit that waits for its sensor. Its times are those of getTime_ms.
struct Commit {
    const scpi_t* context;
    uint32_t start_ms;
    uint32_t peerHeard_ms; ///< when the peer was last seen not to have said its last word
    CommitEnd end;
};

CommitEnd endOf(Commit* commit) {
    ThreadWatch_progress();
    const uint32_t now_ms = getTime_ms();
    const ScpiPeer peer = ScpiLink_peer(commit->context);
    if (peer == ScpiPeer::isThere) {
        commit->peerHeard_ms = now_ms;
    }
    if (peer == ScpiPeer::hasGone || now_ms - commit->peerHeard_ms > lastWait_ms) {
        return CommitEnd::peerHasGone;
    }
    if (!configuration_getPulseMode()) {
        return CommitEnd::leftPulseMode;
    }
    return now_ms - commit->start_ms > longestCommit_ms ? CommitEnd::timeIsUp : CommitEnd::none;
}

/// Why the sensor has not got the configuration, or not told so.
scpi_result_t reportEnd(scpi_t* context, CommitEnd end) {
    switch (end) {
    case CommitEnd::peerHasGone:
        // No error: it would meet the next client.
        ScpiLink_giveUpPeer(context);
        return SCPI_RES_OK;
    case CommitEnd::leftPulseMode:
        pushCustomScpiError(context, scpiErrorCwMode);
        return SCPI_RES_ERR;
    case CommitEnd::timeIsUp:
        pushCustomScpiErrorWithMsg(context, scpiErrorFromSensor, "The sensor does not answer.");
        return SCPI_RES_ERR;
    default:
        pushCustomScpiError(context, scpiErrorNoSensor);
        return SCPI_RES_ERR;
    }
}

scpi_result_t reportSensorErrors(scpi_t* context, const USBTMC_PARAM_ERRORS& errors) {
    const int count = std::clamp(errors.count, 0, static_cast<int>(std::size(errors.errors)));
    for (int i = 0; i < count; ++i) {
        pushCustomScpiErrorWithMsg(context, scpiErrorFromSensor, errors.errors[i]);
    }
    return count == 0 ? SCPI_RES_OK : SCPI_RES_ERR;
}

scpi_result_t SCPI_SystemPulseEnable(scpi_t* context) {
    const std::optional<bool> isOn = SCPI_ReadBooleanParameter(context);
    if (!isOn) {
        return SCPI_RES_ERR;
    }
    configuration_setPulseMode(*isOn);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemPulseEnableQ(scpi_t* context) {
    return ScpiAnswers_integer(context, configuration_getPulseMode() ? 1 : 0);
}

scpi_result_t SCPI_SystemPulseConfigSync(scpi_t* context) {
    size_t channel = 0;
    if (ScpiConditions_readChannel(context, forPulseSensor, &channel) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    if (!ScpiWorkingCopy_synchronize(channel, ScpiRecord_sensorPort(channel))) {
        pushCustomScpiError(context, scpiErrorNoSensor);
        return SCPI_RES_ERR;
    }
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemPulseConfigCommit(scpi_t* context) {
    size_t channel = 0;
    SENSOR_CONFIGS config{};
    if (ScpiConditions_readChannel(context, inPulseMode, &channel) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    const uint32_t port = ScpiRecord_sensorPort(channel);
    if (!ScpiWorkingCopy_takeForCommit(channel, &config)) {
        return SCPI_RES_OK;
    }
    // The wait for the sensor holds no lock: the other link goes on.
    const uint32_t now_ms = getTime_ms();
    Commit commit{context, now_ms, now_ms, CommitEnd::none};
    SensorConfigsWait wait;
    wait.context = &commit;
    wait.isOver = [](void* data) {
        auto* waiting = static_cast<Commit*>(data);
        waiting->end = endOf(waiting);
        return waiting->end != CommitEnd::none;
    };
    const USBTMC_PARAM_ERRORS errors = sensorPortHandler_setSensorConfigs(config, port, &wait);
    if (errors.sensorHasGone) {
        return reportEnd(context, commit.end);
    }
    if (reportSensorErrors(context, errors) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    ScpiWorkingCopy_committed(channel, port, config);
    return SCPI_RES_OK;
}

// SYNCronize is spelled so because remote programs send it (docs/compatibility.md: syncronize).
// clang-format off
constexpr scpi_command_t rows[] = {
    {"SYSTem:PULSe[:ENABle]", SCPI_SystemPulseEnable, 0},
    {"SYSTem:PULSe[:ENABle]?", SCPI_SystemPulseEnableQ, 0},
    {"SYSTem:PULSe:CONFig[:SYNCronize]", SCPI_SystemPulseConfigSync, 0},
    {"SYSTem:PULSe:CONFig:COMMit", SCPI_SystemPulseConfigCommit, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiPulseModeCommands = rows;
