/*
 * The tokens of program messages. Each lex function looks at the text from state->pos on, takes
 * what it names and moves the position behind it, or leaves it and reports nothing.
 */
#ifndef SCPI_LEXER_H
#define SCPI_LEXER_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Text from pos up to end, which is not read. */
typedef struct {
    char* pos;
    char* end;
    uint32_t options;
} scpi_lexer_t;

scpi_lexer_t scpiLexer(char* text, int len, uint32_t options);

scpi_bool_t scpiLexAtEnd(const scpi_lexer_t* lexer);

/* Number of blanks skipped. */
int scpiLexBlanks(scpi_lexer_t* lexer);

/* One given character. */
scpi_bool_t scpiLexCharacter(scpi_lexer_t* lexer, char character);

/* CR, LF or CR LF. */
scpi_bool_t scpiLexNewLine(scpi_lexer_t* lexer);

/* A header, whole or broken off; type UNKNOWN if none begins here. */
scpi_token_t scpiLexHeader(scpi_lexer_t* lexer);

/* A decimal number without a suffix; type UNKNOWN if none begins here. */
scpi_token_t scpiLexDecimal(scpi_lexer_t* lexer);

/*
 * A value of any kind; type UNKNOWN if none begins here. The position then stays, save for a block
 * whose bytes have not all arrived: that takes everything up to the end.
 */
scpi_token_t scpiLexValue(scpi_lexer_t* lexer);

/* Base of a number token's digits: 16, 8 or 2 for #H, #Q and #B, 10 for any other token. */
int scpiNumberBase(const scpi_token_t* token);

/*
 * The next message unit: header, parameters, termination. Returns the number of bytes taken; at an
 * unexpected byte the header is of type INVALID and the unit ends behind that byte.
 */
int scpiLexUnit(scpi_parser_state_t* state, char* text, int len, uint32_t options);

#ifdef __cplusplus
}
#endif

#endif
