#include "ScpiParser.h"

#include "Configuration.h"
#include "Process.h"
#include "ScpiRecord.h"
#include "ScpiSerialServer.h"
#include "ScpiTcpServer.h"
#include "Threads.h"
#include "message.h"

pthread_t scpi_tcp_thread_id;
pthread_t scpi_ser_thread_id;

void startScpiParser() {
    initScpiParser();
    if (Thread_start(&scpi_tcp_thread_id, "scpiTcp", scpiTcpServerThread) != 0) {
        DIAGNOSTIC("Fail...Cannot spawn the scpiTcpServer.");
        Process_leave(processStatusFatal);
    }
    if (configuration_getUseLegacy()) {
        return;
    }
    if (Thread_start(&scpi_ser_thread_id, "scpiSerial", scpiSerialServerThread) != 0) {
        DIAGNOSTIC("Fail...Cannot spawn the scpiSerialServer.");
        Process_leave(processStatusFatal);
    }
}
