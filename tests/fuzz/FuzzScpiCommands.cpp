// Whole command lines against the instrument's own command table, in any pieces: with a pulse
// sensor on channel 1 and a CW sensor on channel 2. The first byte is the size of the pieces and
// whether pulse mode is on.
#include "Configuration.h"
#include "LogManager.h"
#include "ScpiLink.h"
#include "ScpiRecord.h"
#include "SensorManager.h"
#include "SensorPortSignals.h"
#include "Threads.h"
#include "UsbSensorHandler.h"
#include "World.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <syslog.h>

namespace {

std::atomic<int32_t> nowhere{-1};
scpi_t meterContext;
ScpiLink meterLink;

void plug(uint32_t port, uint32_t channel, CONNECTED_SENSORS* detected) {
    detected->detectedSensors |= SensorPort_bit(port);
    detected->detectedSensorsChanged = SensorPort_bit(port);
    SensorManager_UpdatePhysicalSensors(detected);
    SensorInstance_SetLogicalChannel(port, channel);
}

/// Once: a link, too, lives as long as the instrument. Files and commands go into the world that
/// the process runs in.
bool prepare() {
    if (World_folder().empty()) {
        abort();
    }
    setlogmask(LOG_MASK(LOG_EMERG)); // a file that grows with every error costs most of the time
    nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    LogManager_create();
    setConfigurationFile("");
    World_writeFile("/etc/network/interfaces", "iface eth0 inet dhcp\n\nauto eth0:0\n");
    SensorManager_Create();
    CONNECTED_SENSORS detected{};
    plug(sensorPort_USB1, 0, &detected);
    plug(sensorPort_Serial1, 1, &detected);
    sensorUsbHandlerData[0].sensorConfigs.bSupportsTriggeredGates = true;
    // One that were still starting would have no working copy.
    sensorUsbHandlerData[0].sensorStatus.status = isReady;
    SensorPortSignals_setServedConnection(sensorPort_USB1,
                                          SensorPortSignals_waitUntilConnected(sensorPort_USB1));
    static char input[scpiInputBufferSize];
    static scpi_error_t queue[scpiErrorQueueSize];
    ScpiLink_initialize(&meterLink, &meterContext, input, queue);
    meterLink.descriptor = &nowhere;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool isPrepared = prepare();
    if (!isPrepared || size < 2) {
        return 0;
    }
    const bool pulseMode = (data[0] & 1U) != 0;
    if (configuration_getPulseMode() != pulseMode) {
        configuration_setPulseMode(pulseMode);
    }
    initScpiParser();
    std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, 1U + data[0]);
        ScpiLink_receive(&meterLink, piece);
        bytes.remove_prefix(piece.size());
    }
    ScpiLink_runPending(&meterLink);
    ScpiLink_discard(&meterLink);
    SCPI_ErrorClear(&meterContext);
    destroyScpiParser();
    return 0;
}
