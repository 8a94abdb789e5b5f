/*
 * Kinds of characters, by ASCII and whatever the locale.
 */
#ifndef SCPI_CHARACTERS_H
#define SCPI_CHARACTERS_H

#include "scpi/types.h"

static inline scpi_bool_t scpiIsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

static inline scpi_bool_t scpiIsLower(char c) {
    return c >= 'a' && c <= 'z';
}

static inline scpi_bool_t scpiIsLetter(char c) {
    return scpiIsUpper(c) || scpiIsLower(c);
}

static inline scpi_bool_t scpiIsDigit(char c) {
    return c >= '0' && c <= '9';
}

static inline char scpiToUpper(char c) {
    return scpiIsLower(c) ? (char)(c - 'a' + 'A') : c;
}

#endif
