#ifndef REMOTE_SERIAL_RESET_H
#define REMOTE_SERIAL_RESET_H

/// INT: brings the application's settings, but the remote-control modes, to their defaults and
/// writes them; the graphs follow. Input thread.
void SerialReset_HandleCommand();

#endif
