#ifndef REMOTE_SCPI_SERIAL_TABLES_H
#define REMOTE_SCPI_SERIAL_TABLES_H

#include <cstdint>
#include <termios.h>

/// The serial command port's settings as remote commands name them.

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): code, label, value, as in the tables
struct baud_item_t {
    speed_t code;
    const char* label;
    int32_t value;
};
constexpr baud_item_t baud_table[] = {{B300, "300", 300},    {B600, "600", 600},
                                      {B1200, "1200", 1200}, {B2400, "2400", 2400},
                                      {B4800, "4800", 4800}, {B9600, "9600", 9600}};

struct flag_item_t {
    tcflag_t flags;
    const char* label;
    int32_t value;
};
constexpr flag_item_t csize_table[] = {{CS7, "7", 7}, {CS8, "8", 8}};
constexpr flag_item_t cstopb_table[] = {{0, "1", 1}, {CSTOPB, "2", 2}};

struct parity_flags_t {
    tcflag_t flags;
    const char* label;
};
/// Staged by row number, so that 0 can stand for nothing staged.
constexpr parity_flags_t parity_table[] = {
    {~static_cast<tcflag_t>(0), "-"}, {0, "n"}, {PARENB, "e"}, {PARENB | PARODD, "o"}};

#endif
