#ifndef REMOTE_SCPI_SERIAL_SERVER_H
#define REMOTE_SCPI_SERIAL_SERVER_H

/// The command set over the serial command port.

/// Opens the port for lines of text, with the user's speed, size, stop bits and parity, and saves
/// the settings file. Returns 0, or -1 with a warning for the user.
int createSerialServer(const char* path);

/// Thread: serves the port until reading fails, then closes it. A port whose device goes is opened
/// again when it is back. Exits the process if the port cannot be opened at the start.
void scpiSerialServerThread();

#endif
