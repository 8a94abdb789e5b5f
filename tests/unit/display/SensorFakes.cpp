#include "SensorFakes.h"

#include "SensorManager.h"
#include "UsbSensorConfig.h"

#include <condition_variable>
#include <cstdio>
#include <limits>
#include <mutex>

SensorFake sensorFakes[sensorPortCount];
uint32_t sensorFakesActiveCount = 1;

namespace {

std::mutex requestMutex;
std::condition_variable requestAnswered;
SensorFakeRequest request;
USBTMC_PARAM_ERRORS answer;
bool areRequestsHeld = false;

} // namespace

void SensorFakes_reset() {
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    sensorFakesActiveCount = 1;
    {
        const std::scoped_lock lock(requestMutex);
        request = {};
    }
    for (SensorFake& fake : sensorFakes) {
        fake = {};
        fake.logicalChannel = sensorLogicalNoChannel;
        fake.status.status = notReady;
        fake.measurements.fwdPwrVal = none;
        fake.measurements.rflPwrVal = none;
        fake.maxPower_W = 1000.0F;
        fake.minPower_W = 1.0F;
    }
}

uint32_t SensorInstance_GetLogicalChannel(uint32_t port) {
    return port < sensorPortCount ? sensorFakes[port].logicalChannel : sensorLogicalNoChannel;
}

bool SensorManager_IsSensorActive(uint32_t port) {
    return port < sensorPortCount && !sensorFakes[port].hasGone;
}

uint32_t SensorManager_getAdmissionNumber(uint32_t port) {
    return port < sensorPortCount ? sensorFakes[port].admission : 0;
}

SENSOR_STATUS sensorPortHandler_getSensorStatus(uint32_t port) {
    return port < sensorPortCount ? sensorFakes[port].status : SENSOR_STATUS{notReady, ""};
}

SENSOR_MEASUREMENTS sensorPortHandler_getSensorMeasurements(uint32_t port) {
    return port < sensorPortCount ? sensorFakes[port].measurements : SENSOR_MEASUREMENTS{};
}

SensorSilence sensorPortHandler_getSilence(uint32_t port) {
    return port < sensorPortCount ? sensorFakes[port].silence : SensorSilence{};
}

float sensorPortHandler_getSensorMaxPower(uint32_t port) {
    return port < sensorPortCount ? sensorFakes[port].maxPower_W : 0.0F;
}

float sensorPortHandler_getSensorMinPower(uint32_t port) {
    return port < sensorPortCount ? sensorFakes[port].minPower_W : 0.0F;
}

void sensorPortHandler_getSensorInformation(uint32_t port, SENSOR_IDENTITY* identity,
                                            char* serialNumber, size_t serialSize) {
    *identity = {};
    serialNumber[0] = '\0';
    if (port < sensorPortCount) {
        *identity = sensorFakes[port].identity;
        snprintf(identity->sensorModel, sizeof identity->sensorModel, "%s",
                 sensorFakes[port].model);
        snprintf(serialNumber, serialSize, "%s", sensorFakes[port].serialNumber);
    }
}

void sensorPortHandler_getSensorConfigs(SENSOR_CONFIGS* configs, uint32_t port) {
    *configs = port < sensorPortCount ? sensorFakes[port].configs : SENSOR_CONFIGS{};
}

uint32_t SensorInstance_GetActiveCount() {
    return sensorFakesActiveCount;
}

SensorFakeRequest SensorFakes_request() {
    const std::scoped_lock lock(requestMutex);
    return request;
}

void SensorFakes_answer(const USBTMC_PARAM_ERRORS& errors) {
    const std::scoped_lock lock(requestMutex);
    answer = errors;
    request.isWaiting = false;
    requestAnswered.notify_all();
}

void SensorFakes_holdRequests(bool isHeld) {
    const std::scoped_lock lock(requestMutex);
    areRequestsHeld = isHeld;
    requestAnswered.notify_all();
}

USBTMC_PARAM_ERRORS sensorPortHandler_setSensorConfigs(const SENSOR_CONFIGS& config,
                                                       uint32_t channel, SensorConfigsWait* wait) {
    std::unique_lock lock(requestMutex);
    requestAnswered.wait(lock, [] { return !areRequestsHeld; });
    if (!wait->isCancelled) {
        ++request.count;
        request.config = config;
        request.port = channel;
        request.isWaiting = true;
        requestAnswered.wait(lock, [wait] { return !request.isWaiting || wait->isCancelled; });
    }
    request.isWaiting = false;
    ++request.endedCount;
    return wait->isCancelled ? USBTMC_PARAM_ERRORS{0, {}, true} : answer;
}

void sensorPortHandler_cancelSensorConfigs(uint32_t /*channel*/, SensorConfigsWait* wait) {
    const std::scoped_lock lock(requestMutex);
    wait->isCancelled = true;
    ++request.cancelledCount;
    requestAnswered.notify_all();
}
