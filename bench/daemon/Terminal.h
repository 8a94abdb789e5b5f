#ifndef BENCH_DAEMON_TERMINAL_H
#define BENCH_DAEMON_TERMINAL_H

#include <cstddef>
#include <string>
#include <string_view>

/// A pseudo-terminal whose slave end stands in the world as an instrument's device.

struct Terminal {
    int master = -1;
    int slave = -1; ///< kept open, so that the program's end never hangs up
};

/// Opens the pair, raw and non-blocking, and puts a link to the slave at `link`. False on error.
bool Terminal_open(Terminal& terminal, const std::string& link);
void Terminal_close(Terminal& terminal);

/// What the program has written, empty when there is nothing.
std::string Terminal_read(const Terminal& terminal);

/// Writes what fits and returns how much that was; the rest is lost, as on a line whose receiver
/// does not listen.
size_t Terminal_write(const Terminal& terminal, std::string_view bytes);

#endif
