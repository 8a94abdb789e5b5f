#ifndef REMOTE_SCPI_PARSER_H
#define REMOTE_SCPI_PARSER_H

#include <pthread.h>

/// Remote control by SCPI commands, over TCP and over the serial command port.

extern pthread_t scpi_tcp_thread_id;
extern pthread_t scpi_ser_thread_id; ///< only while the legacy protocol is not selected

/// Makes the remote-control record and starts the servers; the serial port is left to the legacy
/// protocol where that is selected. Exits the process if a thread cannot be started. Main thread,
/// once, after the settings are read and the sensor manager runs.
void startScpiParser();

#endif
