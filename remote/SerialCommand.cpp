#include "SerialCommand.h"

#include "Configuration.h"
#include "SensorPortSignals.h"
#include "SerialCommandHandler.h"
#include "SerialCommandInterpreter.h"
#include "SerialCommandSettings.h"
#include "SerialPort.h"
#include "SerialStatus.h"
#include "ThreadWatch.h"
#include "Threads.h"
#include "message.h"

#include <array>
#include <cstring>
#include <pthread.h>

namespace {

constexpr size_t readingReplySize = 64;
constexpr uint32_t deadPortPause_ms = 1000;

/// Where the input thread opens the port again.
const char* portName = serialCommandPortName;

/// A request for a reading, and where the readings stood when it was made.
struct Request {
    bool isWaiting;
    uint32_t announced;                          ///< readings of any port, announced until then
    std::array<uint32_t, sensorPortCount> begun; ///< readings that had begun until then
};

// Conditions with the state that they tell of, because an Event_t forgets what is signalled before
// its wait: a request that follows a reply at once would vanish, and a reading cost a cycle more.
pthread_mutex_t requestMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t reading_request = PTHREAD_COND_INITIALIZER;
pthread_cond_t reading_available = PTHREAD_COND_INITIALIZER;
Request currentRequest{}; ///< is being answered
Request nextRequest{};    ///< came after the reading that answers the current one
uint32_t announcedReadings = 0;

enum class Progress { waiting, measured, noSensor };

/// Where a request stands. A reading is waited for even when no sensor can be chosen yet.
Progress progressOf(const Request& request, uint32_t announced) {
    if (announced == request.announced) {
        return Progress::waiting;
    }
    const uint32_t port = serial_command_handler_choosePort();
    if (port >= sensorPortCount) {
        return Progress::noSensor;
    }
    return sensorPortHandler_hasReadingSince(port, request.begun.at(port)) ? Progress::measured
                                                                           : Progress::waiting;
}

Request makeRequest() {
    Request request{};
    request.isWaiting = true;
    for (uint32_t port = 0; port < sensorPortCount; ++port) {
        request.begun.at(port) = sensorPortHandler_getBegunReading(port);
    }
    return request;
}

/// Remembers a request. One that comes before the reading for an earlier one was taken is answered
/// together with it.
void requestReading() {
    Request request = makeRequest();
    const uint32_t port = serial_command_handler_choosePort();
    const ScopedLock lock(requestMutex);
    request.announced = announcedReadings;
    if (!currentRequest.isWaiting) {
        currentRequest = request;
        pthread_cond_signal(&reading_request);
    } else if (!nextRequest.isWaiting && port < sensorPortCount &&
               sensorPortHandler_hasReadingSince(port, currentRequest.begun.at(port))) {
        nextRequest = request;
    }
}

Request waitForRequest() {
    const ThreadRest rest;
    const ScopedLock lock(requestMutex);
    while (!currentRequest.isWaiting) {
        pthread_cond_wait(&reading_request, &requestMutex);
    }
    return currentRequest;
}

/// Number of announced readings; waits until it differs from `seen`.
uint32_t waitForReading(uint32_t seen) {
    const ThreadRest rest;
    const ScopedLock lock(requestMutex);
    while (announcedReadings == seen) {
        pthread_cond_wait(&reading_available, &requestMutex);
    }
    return announcedReadings;
}

void finishRequest() {
    const ScopedLock lock(requestMutex);
    currentRequest = nextRequest;
    nextRequest.isWaiting = false;
}

void answer(const Request& request) {
    uint32_t seen = waitForReading(request.announced);
    while (progressOf(request, seen) == Progress::waiting) {
        seen = waitForReading(seen);
    }
    finishRequest();
    char reply[readingReplySize];
    if (serial_command_handle_response(COMMAND_ENTER, reply, sizeof reply) > 0) {
        SerialPort_puts(reply);
    }
}

/// Commands of trigger mode 5 select and ask at once, where the user has allowed it.
bool asksForReading(command_t command) {
    if (configuration_getCommandModeSW() &&
        serial_command_handler_get_triggerMode() == TRIGGER_MODE_5) {
        return command == COMMAND_FORWARD || command == COMMAND_REFLECTED;
    }
    return command == COMMAND_ENTER;
}

void takeCharacter(char character) {
    command_t command = COMMAND_RETRY;
    while (command == COMMAND_RETRY) {
        command = serial_command_interpret_input(character);
    }
    serial_command_handle_command(command);
    if (command != COMMAND_NONE && asksForReading(command)) {
        requestReading();
    }
}

/// Waits for a character. False when the port is gone: it then reads as empty or fails for ever.
bool readCharacter(char* character) {
    return *SerialPort_getfd() != -1 && SerialPort_gets(character, 1) == 1;
}

/// A port that is gone is looked for at leisure, and opened again when it is back.
void recoverPort() {
    Thread_sleep_ms(deadPortPause_ms);
    if (SerialPort_Reopen(portName)) {
        DIAGNOSTIC("%s is open again\n", portName);
        serial_command_interpreter_reset(); // the rest of a command is lost with the old connection
    }
}

void startThread(const char* name, const char* shortName, void (*entry)()) {
    pthread_t thread{};
    const int error = Thread_start(&thread, shortName, entry);
    if (error != 0) {
        DIAGNOSTIC("pthread_create for %s failed with error %s", name, strerror(error));
        USER_WARNING("Serial command interface is not enabled.");
    }
}

} // namespace

void SerialCommand_Start() {
    if (!configuration_getUseLegacy()) {
        return;
    }
    SerialCommand_Initialize(serialCommandPortName);
    sensorPortHandler_registerReadingListener(SerialCommand_SignalReadingAvailable);
    startThread("SerialCommand_InputThread", "commandInput", SerialCommand_InputThread);
    startThread("SerialCommand_OutputThread", "commandOutput", SerialCommand_OutputThread);
}

void SerialCommand_Initialize(const char* port) {
    portName = port;
    if (*SerialPort_getfd() != -1) {
        SerialPort_Close();
    }
    if (SerialPort_Open(port) == -1) {
        DIAGNOSTIC("Could not open %s", port);
        USER_WARNING("Serial command interface is not enabled.");
        return;
    }
    {
        const ScopedLock lock(requestMutex);
        currentRequest = {};
        nextRequest = {};
    }
    serial_command_interpreter_reset();
    serial_command_handler_reset();
    SerialStatus_InitializeStatus();
}

void SerialCommand_SignalReadingAvailable() {
    {
        const ScopedLock lock(requestMutex);
        ++announcedReadings;
    }
    pthread_cond_signal(&reading_available);
}

void SerialCommand_InputThread() {
    for (;;) {
        ThreadWatch_beat();
        char character = 0;
        if (readCharacter(&character)) {
            takeCharacter(character);
        } else {
            recoverPort();
        }
    }
}

void SerialCommand_OutputThread() {
    ThreadWatch_beat();
    for (;;) {
        answer(waitForRequest());
    }
}
