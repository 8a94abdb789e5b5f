#ifndef REMOTE_SERIAL_READING_H
#define REMOTE_SERIAL_READING_H

#include <cstddef>
#include <cstdint>

/// The text of one reading, as the older meter wrote it. Pure but for warnings.

/// Every reply of the older meter ends like this.
constexpr const char* scpi_terminator = "\r\n";

/// The range, 0 to 17, that a power moves to from `range`; never one that is finer than the
/// sensor's minimum power.
uint32_t SerialReading_autoRange(float power_W, float minPower_W, uint32_t range);

/// Writes flag, label, number and unit in the range's format and the line end, as in
/// "NFC  25.000   W\r\n". A power beyond the range or 1.2 times the sensor's maximum is flagged O,
/// with 199.99 of the unit's coarsest range. Returns the length. A buffer that is too small is a
/// fatal error. Any thread, whatever the locale.
size_t format_power(char* buffer, size_t capacity, const char* label, float power_W,
                    float maxPower_W, uint32_t range);

#endif
