#include "SensorPortSignals.h"

#include "CSimpleTimer.h"
#include "ThreadWatch.h"
#include "Threads.h"

namespace {

/// A serial sensor that takes 50 ms for each of a cycle's five answers needs more than three
/// seconds to be found again after a lost one.
constexpr uint32_t slowCycle_ms = 250;

constexpr pthread_mutex_t freshMutex = PTHREAD_MUTEX_INITIALIZER;

/// What setIsConnected changes, under the port's sensorPortMutex.
struct Connection {
    pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
    uint32_t number = 0;  ///< grows with every rise of the flag
    uint32_t served = 0;  ///< the connection that the handler's records belong to
    bool isWoken = false; ///< the handler is to look for something else
};

bool sensorIsConnected[sensorPortCount];
Connection connections[sensorPortCount];

std::atomic<uint32_t> readingNumbers[sensorPortCount];
std::atomic<uint32_t> begunReadings[sensorPortCount];
std::atomic<uint32_t> deliveredReadings[sensorPortCount]; ///< the begun number of the last one
std::atomic<uint64_t> heard_ms[sensorPortCount];          ///< 0 before the first sensor
std::atomic<uint32_t> lastCycle_ms[sensorPortCount];
std::atomic<void (*)()> readingListener;

} // namespace

pthread_mutex_t sensorPortMutex[sensorPortCount] = {freshMutex, freshMutex, freshMutex, freshMutex};
pthread_mutex_t sensorPortConfigMutex[sensorPortCount] = {freshMutex, freshMutex, freshMutex,
                                                          freshMutex};
pthread_mutex_t sensorPortInfoMutex[sensorPortCount] = {freshMutex, freshMutex, freshMutex,
                                                        freshMutex};
pthread_mutex_t sensorPortMeasureMutex[sensorPortCount] = {freshMutex, freshMutex, freshMutex,
                                                           freshMutex};

std::atomic<bool> newMeasurementIsAvailable[sensorPortCount];

void sensorPortHandler_setIsConnected(uint32_t port, bool isConnected) {
    if (port >= sensorPortCount) {
        return;
    }
    const ScopedLock lock(sensorPortMutex[port]);
    if (isConnected && !sensorIsConnected[port]) {
        ++connections[port].number;
    }
    sensorIsConnected[port] = isConnected;
    pthread_cond_broadcast(&connections[port].changed);
}

bool sensorPortHandler_getIsConnected(uint32_t port) {
    if (port >= sensorPortCount) {
        return false;
    }
    const ScopedLock lock(sensorPortMutex[port]);
    return sensorIsConnected[port];
}

uint32_t SensorPortSignals_waitUntilConnected(uint32_t port) {
    const ScopedLock lock(sensorPortMutex[port]);
    while (!sensorIsConnected[port]) {
        ThreadWatch_rest();
        pthread_cond_wait(&connections[port].changed, &sensorPortMutex[port]);
    }
    ThreadWatch_beat();
    return connections[port].number;
}

uint32_t SensorPortSignals_waitUntilConnectedOrWoken(uint32_t port) {
    const ScopedLock lock(sensorPortMutex[port]);
    Connection& connection = connections[port];
    while (!sensorIsConnected[port] && !connection.isWoken) {
        ThreadWatch_rest();
        pthread_cond_wait(&connection.changed, &sensorPortMutex[port]);
    }
    connection.isWoken = false;
    ThreadWatch_beat();
    return sensorIsConnected[port] ? connection.number : 0;
}

void SensorPortSignals_wake(uint32_t port) {
    if (port >= sensorPortCount) {
        return;
    }
    const ScopedLock lock(sensorPortMutex[port]);
    connections[port].isWoken = true;
    pthread_cond_broadcast(&connections[port].changed);
}

bool SensorPortSignals_isSameConnection(uint32_t port, uint32_t connection) {
    if (port >= sensorPortCount) {
        return false;
    }
    const ScopedLock lock(sensorPortMutex[port]);
    return sensorIsConnected[port] && connections[port].number == connection;
}

bool SensorPortSignals_endConnection(uint32_t port, uint32_t connection) {
    if (port >= sensorPortCount) {
        return false;
    }
    const ScopedLock lock(sensorPortMutex[port]);
    if (!sensorIsConnected[port] || connections[port].number != connection) {
        return false;
    }
    sensorIsConnected[port] = false;
    return true;
}

void SensorPortSignals_setServedConnection(uint32_t port, uint32_t connection) {
    if (port >= sensorPortCount) {
        return;
    }
    const ScopedLock lock(sensorPortMutex[port]);
    connections[port].served = connection;
}

bool SensorPortSignals_isServed(uint32_t port) {
    if (port >= sensorPortCount) {
        return false;
    }
    const ScopedLock lock(sensorPortMutex[port]);
    return sensorIsConnected[port] && connections[port].served == connections[port].number;
}

void SensorPortSignals_beginReading(uint32_t port) {
    if (port < sensorPortCount) {
        ++begunReadings[port];
    }
}

void SensorPortSignals_countReading(uint32_t port, bool isNew) {
    if (port < sensorPortCount && isNew) {
        deliveredReadings[port] = begunReadings[port].load();
        ++readingNumbers[port];
    }
}

void SensorPortSignals_tellOfReading() {
    void (*const listener)() = readingListener;
    if (listener != nullptr) {
        listener();
    }
}

uint32_t sensorPortHandler_getReadingNumber(uint32_t port) {
    return port < sensorPortCount ? readingNumbers[port].load() : 0;
}

uint32_t sensorPortHandler_getBegunReading(uint32_t port) {
    return port < sensorPortCount ? begunReadings[port].load() : 0;
}

bool sensorPortHandler_hasReadingSince(uint32_t port, uint32_t begunReading) {
    if (port >= sensorPortCount) {
        return false;
    }
    // Right across the numbers' wrap.
    const auto distance = static_cast<int32_t>(deliveredReadings[port].load() - begunReading);
    return distance > 0;
}

void SensorPortSignals_breakSilence(uint32_t port) {
    if (port < sensorPortCount) {
        heard_ms[port] = getTime64_ms();
    }
}

void SensorPortSignals_noteCycle(uint32_t port, uint32_t cycle_ms) {
    if (port < sensorPortCount) {
        lastCycle_ms[port] = cycle_ms;
    }
}

SensorSilence SensorPortSignals_silence(uint32_t port) {
    if (port >= sensorPortCount || heard_ms[port] == 0) {
        return {};
    }
    // The time is taken first: what is heard meanwhile must not make the silence negative.
    const uint64_t now_ms = getTime64_ms();
    const uint64_t since_ms = heard_ms[port];
    return {now_ms > since_ms ? now_ms - since_ms : 0,
            !SensorPort_isUsb(port) && lastCycle_ms[port] > slowCycle_ms};
}

void sensorPortHandler_registerReadingListener(void (*listener)()) {
    readingListener = listener;
}
