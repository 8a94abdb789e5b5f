#include "ScpiSerialServer.h"

#include "Configuration.h"
#include "Numbers.h"
#include "Process.h"
#include "RetryInterrupted.h"
#include "ScpiLink.h"
#include "SerialPort.h"
#include "ThreadWatch.h"
#include "Threads.h"
#include "message.h"

#include <poll.h>
#include <termios.h>

namespace {

constexpr size_t receiveSize = 256;
constexpr cc_t endOfFile = 0x04;
constexpr cc_t endOfLine = 0x10; ///< beside the line feed, which always ends a line
constexpr uint32_t emptyReadPause_ms = 100;
constexpr uint32_t gonePortPause_ms = 1000;

ScpiLink serialLink;

void setLineMode(termios* settings) {
    settings->c_cflag |= CREAD | CLOCAL;
    settings->c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
    settings->c_lflag |= ICANON | ISIG;
    settings->c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHONL | IEXTEN);
    settings->c_iflag &=
        ~static_cast<tcflag_t>(IGNCR | INPCK | INLCR | ICRNL | IMAXBEL | IXON | IXANY | IXOFF);
    settings->c_oflag &= ~static_cast<tcflag_t>(OPOST);
    settings->c_cc[VEOF] = endOfFile;
    settings->c_cc[VEOL] = endOfLine;
    settings->c_cc[VEOL2] = 0;
}

void enterLineMode() {
    termios settings{};
    if (SerialPort_GetConfig(&settings) == 0) {
        setLineMode(&settings);
        SerialPort_SetConfig(&settings);
    }
}

/// True when the device has gone: every read is empty from then on.
bool waitForInput() {
    const ThreadRest rest;
    pollfd waited{*SerialPort_getfd(), POLLIN, 0};
    retryInterrupted([&] { return poll(&waited, 1, -1); });
    return (waited.revents & POLLHUP) != 0;
}

/// A port that has gone is looked for at leisure, and opened again when it is back.
void recoverPort() {
    Thread_sleep_ms(gonePortPause_ms);
    if (SerialPort_Reopen(serialCommandPortName)) {
        DIAGNOSTIC("%s is open again\n", serialCommandPortName);
        enterLineMode();
    }
}

/// Discards what has come in behind a line, but nothing of a reply that is being sent.
void discardInput() {
    tcflush(*SerialPort_getfd(), TCIFLUSH);
}

/// One line. False when reading has failed.
bool serveLine() {
    ThreadWatch_beat();
    char buffer[receiveSize] = {};
    const bool isGone = waitForInput();
    const int32_t count = SerialPort_gets(buffer, sizeof buffer);
    if (count < 0) {
        return false;
    }
    discardInput();
    if (count == 0) {
        ScpiLink_runPending(&serialLink);
        if (isGone) {
            recoverPort();
        } else {
            Thread_sleep_ms(emptyReadPause_ms); // an end-of-file character
        }
        return true;
    }
    ScpiLink_receive(&serialLink, {buffer, static_cast<size_t>(count)});
    // The rest of a line that was too long has been discarded with its end.
    serialLink.skipsLine = false;
    serialLink.peerIsStuck = false;
    return true;
}

} // namespace

int createSerialServer(const char* path) {
    if (*SerialPort_getfd() != -1) {
        SerialPort_Close();
    }
    if (SerialPort_Open(path) == -1) {
        DIAGNOSTIC("Could not open %s\n\n", path);
        USER_WARNING("Serial command interface is not enabled.");
        return -1;
    }
    enterLineMode();
    writeConfigFile();
    return 0;
}

void scpiSerialServerThread() {
    const ScopedNumberLocale numbers;
    SCPI_S* record = scpi;

    DIAGNOSTIC("Starting...");
    ScpiLink_initialize(&serialLink, &record->serContext, record->serInputBuffer,
                        record->serErrorQueueData);
    if (createSerialServer(serialCommandPortName) < 0) {
        DIAGNOSTIC("createSerialServer() failed");
        Process_leave(processStatusFatal);
    }
    serialLink.descriptor = SerialPort_getfd();
    while (serveLine()) {
    }
    DIAGNOSTIC("serial_gets() failed");
    SerialPort_Close();
    ThreadWatch_rest(); // it ends
}
