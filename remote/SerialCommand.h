#ifndef REMOTE_SERIAL_COMMAND_H
#define REMOTE_SERIAL_COMMAND_H

/// The older meter's RS232 protocol on the serial command port: short commands without terminator
/// that one thread takes, and readings that another sends when they have been measured.

/// Starts the protocol if the settings select it; otherwise does nothing. Main thread, once.
void SerialCommand_Start();

/// Closes and reopens the command port, with the user's serial settings, and brings interpreter,
/// handler and status to their initial state. A port that cannot be opened is reported, and leaves
/// the protocol silent until the input thread finds it. Before that thread is started.
void SerialCommand_Initialize(const char* port);

/// Tells the output thread that a sensor has delivered a reading. Any thread, without sensor locks.
void SerialCommand_SignalReadingAvailable();

/// Thread: takes commands, for ever. A port that goes is opened again when it is back.
void SerialCommand_InputThread();

/// Thread: answers each request for a reading with one that was measured after it, for ever.
void SerialCommand_OutputThread();

#endif
