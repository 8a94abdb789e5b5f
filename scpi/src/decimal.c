/*
 * All of this is exact: the number is a whole one and a fraction in units of 2^-52, and both are
 * integers here. So the digits are those of the value itself, as printf's are.
 */
#include "decimal.h"

#include <math.h>
#include <string.h>

#define SIGNIFICANT_DIGITS 15
#define UNITS_OF_ONE 4503599627370496u /* 2^52 */

/* A number without its sign. */
typedef struct {
    uint64_t whole;
    uint64_t fraction; /* the digits behind the point as a number */
    uint64_t scale;    /* what the fraction would be for 1: a power of ten */
} decimal_t;

static int countDigits(uint64_t number) {
    int count = 0;
    for (; number > 0; number /= 10) {
        count++;
    }
    return count;
}

/* Adds digits of the fraction until there are enough. Returns the units that are left. */
static uint64_t takeDigits(decimal_t* decimal, uint64_t units) {
    int significant = countDigits(decimal->whole);

    while (units > 0 && significant < SIGNIFICANT_DIGITS) {
        units *= 10;
        decimal->fraction = decimal->fraction * 10 + units / UNITS_OF_ONE;
        decimal->scale *= 10;
        units %= UNITS_OF_ONE;
        if (decimal->whole > 0 || decimal->fraction > 0) {
            significant++;
        }
    }
    return units;
}

/* A half goes to the even digit, as in printf. */
static decimal_t rounded(uint64_t whole, uint64_t units) {
    decimal_t decimal = {0, 0, 1};
    uint64_t left;

    decimal.whole = whole;
    left = takeDigits(&decimal, units);
    if (left > UNITS_OF_ONE / 2 || (left == UNITS_OF_ONE / 2 && decimal.fraction % 2 == 1)) {
        decimal.fraction++;
    }
    if (decimal.fraction == decimal.scale) {
        decimal.whole++;
        decimal.fraction = 0;
    }
    return decimal;
}

/* Writes backwards from the end; zeros at the end of a fraction are left out. */
static char* writeBackwards(decimal_t decimal, char* end) {
    char* at = end;

    for (; decimal.scale > 1; decimal.scale /= 10) {
        if (at < end || decimal.fraction % 10 > 0) {
            *--at = (char)('0' + decimal.fraction % 10);
        }
        decimal.fraction /= 10;
    }
    if (at < end) {
        *--at = '.';
    }
    do {
        *--at = (char)('0' + decimal.whole % 10);
        decimal.whole /= 10;
    } while (decimal.whole > 0);
    return at;
}

size_t scpiDecimalText(double val, char text[SCPI_DECIMAL_SIZE]) {
    const double magnitude = fabs(val);
    char backwards[SCPI_DECIMAL_SIZE];
    char* const end = backwards + sizeof backwards;
    uint64_t whole;
    double units;
    char* at;

    if (!(magnitude < 1e14) || (magnitude < 1e-4 && magnitude > 0)) {
        return 0;
    }
    whole = (uint64_t)magnitude;
    units = (magnitude - (double)whole) * (double)UNITS_OF_ONE;
    if ((double)(uint64_t)units != units) {
        return 0;
    }
    at = writeBackwards(rounded(whole, (uint64_t)units), end);
    if (signbit(val)) {
        *--at = '-';
    }
    memcpy(text, at, (size_t)(end - at));
    return (size_t)(end - at);
}
