/*
 * Numbers to text.
 */
#include "scpi/utils.h"

#include "decimal.h"

#include <stdio.h>
#include <string.h>

/* Digits of a 64-bit number in base 2, and a sign. */
#define MAX_DIGITS 65

static size_t copyCut(const char* digits, size_t count, char* str, size_t len) {
    const size_t copied = count < len ? count : len;
    memcpy(str, digits, copied);
    if (copied < len) {
        str[copied] = '\0';
    }
    return copied;
}

static size_t unsignedToStr(uint64_t val, scpi_bool_t negative, unsigned base, char* str,
                            size_t len) {
    char digits[MAX_DIGITS];
    size_t from = sizeof digits;

    do {
        digits[--from] = "0123456789ABCDEF"[val % base];
        val /= base;
    } while (val > 0);
    if (negative) {
        digits[--from] = '-';
    }
    return copyCut(digits + from, sizeof digits - from, str, len);
}

static unsigned knownBase(int8_t base) {
    return (base == 2 || base == 8 || base == 16) ? (unsigned)base : 10u;
}

size_t SCPI_UInt32ToStrBase(uint32_t val, char* str, size_t len, int8_t base) {
    return unsignedToStr(val, FALSE, knownBase(base), str, len);
}

size_t SCPI_Int32ToStr(int32_t val, char* str, size_t len) {
    return SCPI_Int64ToStr(val, str, len);
}

size_t SCPI_UInt64ToStrBase(uint64_t val, char* str, size_t len, int8_t base) {
    return unsignedToStr(val, FALSE, knownBase(base), str, len);
}

size_t SCPI_Int64ToStr(int64_t val, char* str, size_t len) {
    const uint64_t magnitude = val < 0 ? 0u - (uint64_t)val : (uint64_t)val;
    return unsignedToStr(magnitude, val < 0, 10, str, len);
}

/* Length of what snprintf left in a buffer of len bytes. */
static size_t writtenLength(int wanted, size_t len) {
    if (wanted < 0 || len == 0) {
        return 0;
    }
    return (size_t)wanted < len ? (size_t)wanted : len - 1;
}

size_t SCPI_FloatToStr(float val, char* str, size_t len) {
    return writtenLength(snprintf(str, len, "%g", (double)val), len);
}

size_t SCPI_DoubleToStr(double val, char* str, size_t len) {
    char text[SCPI_DECIMAL_SIZE];
    const size_t count = scpiDecimalText(val, text);

    if (count == 0 || count >= len) {
        return writtenLength(snprintf(str, len, "%.15lg", val), len);
    }
    memcpy(str, text, count);
    str[count] = '\0';
    return count;
}
