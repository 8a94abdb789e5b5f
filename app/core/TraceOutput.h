#ifndef APP_CORE_TRACE_OUTPUT_H
#define APP_CORE_TRACE_OUTPUT_H

#include <cstdint>

/// The trace's way to standard output, which may be a terminal that somebody has stopped or a pipe
/// that nobody reads: texts go into a buffer of 64 KiB, and a thread of its own writes them out in
/// their order, each at once. Who traces never waits for who reads.

/// Appends a text, whole or not at all: what does not fit is lost, and where it is missing the
/// trace says how many ("3 lines lost"). With `isUnescaped` each "%%" of the text comes out as "%".
/// The first text starts the writing thread. Any thread.
void TraceOutput_write(const char* text, bool isUnescaped);

/// Waits until everything that was appended so far has been written, `limit_ms` at most: false if
/// it has not. Any thread.
bool TraceOutput_flush(uint32_t limit_ms);

#endif
