#ifndef BENCH_PRELOAD_TERMINALS_H
#define BENCH_PRELOAD_TERMINALS_H

#include "BenchClock.h"

#include <sys/types.h>
#include <termios.h>

/// The instrument's serial ports. Each is a pseudo-terminal, which the system forces to 8 bits
/// without parity; what the program sets is kept here, in the world's file "tty/<name>".

/// Takes note of a descriptor that was opened by an instrument path such as "/dev/ttyS1". A port
/// that is opened for the first time starts as a serial driver leaves it: 9600 8N1.
void Terminals_opened(int fd, const char* instrumentPath);

/// The port behind a descriptor, 0 and up, or -1.
int Terminals_portOf(int fd);

/// The control flags, speed included, as the program set them.
tcflag_t Terminals_controlFlags(int port);

/// Keeps the control flags and publishes them.
void Terminals_setControlFlags(int port, tcflag_t flags);

/// What the pseudo-terminal accepts of them.
tcflag_t Terminals_systemFlags(tcflag_t flags);

/// Reads at the bench's speed: the system knows VTIME only in tenths of a real second. True when
/// the result, in `count` and errno, is final; false when a plain read does the same.
bool Terminals_waitForInput(int fd, const BenchClockReading& clock, ssize_t& count);

#endif
