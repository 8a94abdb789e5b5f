#ifndef BENCH_CLIENT_BENCH_CHANNEL_H
#define BENCH_CLIENT_BENCH_CHANNEL_H

#include <string>

/// Talking to a running bench from another process.

/// Sends one command line. True and the answer's lines in `text` when it was carried out; false and
/// the reason in `text` otherwise, also when no bench runs there.
bool BenchChannel_command(const std::string& world, const std::string& line, std::string& text);

#endif
