#include "lexer.h"

#include "characters.h"
#include "scpi/options.h"

static scpi_bool_t isWordCharacter(char c) {
    return scpiIsLetter(c) || scpiIsDigit(c) || c == '_';
}

static scpi_bool_t isBlank(char c) {
    return c == ' ' || c == '\t';
}

/* What a quoted text may hold. */
static scpi_bool_t isSevenBit(char c) {
    return ((unsigned char)c & 0x80u) == 0;
}

static scpi_bool_t isExpressionCharacter(char c) {
    return c >= 0x20 && c <= 0x7e && c != '"' && c != '#' && c != '\'' && c != '(' && c != ')' &&
           c != ';';
}

scpi_lexer_t scpiLexer(char* text, int len, uint32_t options) {
    scpi_lexer_t lexer;
    lexer.pos = text;
    lexer.end = (text && len > 0) ? text + len : text;
    lexer.options = options;
    return lexer;
}

scpi_bool_t scpiLexAtEnd(const scpi_lexer_t* lexer) {
    return lexer->pos >= lexer->end;
}

static int skipWhile(scpi_lexer_t* lexer, scpi_bool_t (*belongs)(char)) {
    char* from = lexer->pos;
    while (!scpiLexAtEnd(lexer) && belongs(*lexer->pos)) {
        lexer->pos++;
    }
    return (int)(lexer->pos - from);
}

int scpiLexBlanks(scpi_lexer_t* lexer) {
    return skipWhile(lexer, isBlank);
}

scpi_bool_t scpiLexCharacter(scpi_lexer_t* lexer, char character) {
    if (scpiLexAtEnd(lexer) || *lexer->pos != character) {
        return FALSE;
    }
    lexer->pos++;
    return TRUE;
}

static scpi_bool_t skipOneOf(scpi_lexer_t* lexer, char first, char second) {
    return scpiLexCharacter(lexer, first) || scpiLexCharacter(lexer, second);
}

scpi_bool_t scpiLexNewLine(scpi_lexer_t* lexer) {
    if (scpiLexCharacter(lexer, '\r')) {
        (void)scpiLexCharacter(lexer, '\n');
        return TRUE;
    }
    return scpiLexCharacter(lexer, '\n');
}

static scpi_token_t tokenFrom(const scpi_lexer_t* lexer, scpi_token_type_t type, char* from) {
    scpi_token_t token;
    token.type = type;
    token.ptr = from;
    token.len = (int)(lexer->pos - from);
    return token;
}

static scpi_token_t noToken(scpi_lexer_t* lexer, char* from) {
    lexer->pos = from;
    return tokenFrom(lexer, SCPI_TOKEN_UNKNOWN, from);
}

/* A letter (or a digit, where that is allowed), then letters, digits and underscores. */
static scpi_bool_t skipMnemonic(scpi_lexer_t* lexer, scpi_bool_t digitFirst) {
    if (scpiLexAtEnd(lexer) ||
        !(scpiIsLetter(*lexer->pos) || (digitFirst && scpiIsDigit(*lexer->pos)))) {
        return FALSE;
    }
    (void)skipWhile(lexer, isWordCharacter);
    return TRUE;
}

static scpi_token_t lexCommonHeader(scpi_lexer_t* lexer, char* from) {
    if (!skipMnemonic(lexer, FALSE)) {
        return tokenFrom(lexer, SCPI_TOKEN_INCOMPLETE_COMMON_PROGRAM_HEADER, from);
    }
    if (scpiLexCharacter(lexer, '?')) {
        return tokenFrom(lexer, SCPI_TOKEN_COMMON_QUERY_PROGRAM_HEADER, from);
    }
    return tokenFrom(lexer, SCPI_TOKEN_COMMON_PROGRAM_HEADER, from);
}

scpi_token_t scpiLexHeader(scpi_lexer_t* lexer) {
    char* from = lexer->pos;
    const scpi_bool_t digitFirst = (lexer->options & SCPI_OPTION_DIGIT_NODES) != 0;
    scpi_bool_t rooted;

    if (scpiLexCharacter(lexer, '*')) {
        return lexCommonHeader(lexer, from);
    }
    rooted = scpiLexCharacter(lexer, ':');
    if (!skipMnemonic(lexer, digitFirst)) {
        return rooted ? tokenFrom(lexer, SCPI_TOKEN_INCOMPLETE_COMPOUND_PROGRAM_HEADER, from)
                      : noToken(lexer, from);
    }
    while (scpiLexCharacter(lexer, ':')) {
        if (!skipMnemonic(lexer, digitFirst)) {
            return tokenFrom(lexer, SCPI_TOKEN_INCOMPLETE_COMPOUND_PROGRAM_HEADER, from);
        }
    }
    if (scpiLexCharacter(lexer, '?')) {
        return tokenFrom(lexer, SCPI_TOKEN_COMPOUND_QUERY_PROGRAM_HEADER, from);
    }
    return tokenFrom(lexer, SCPI_TOKEN_COMPOUND_PROGRAM_HEADER, from);
}

static scpi_bool_t isHexDigit(char c) {
    return scpiIsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

static scpi_bool_t isOctalDigit(char c) {
    return c >= '0' && c <= '7';
}

static scpi_bool_t isBinaryDigit(char c) {
    return c == '0' || c == '1';
}

/* #H, #Q or #B and digits; the token covers the digits only. */
static scpi_token_t lexPrefixedNumber(scpi_lexer_t* lexer) {
    char* from = lexer->pos;
    char* digits;
    scpi_token_type_t type = SCPI_TOKEN_UNKNOWN;
    scpi_bool_t (*belongs)(char) = isHexDigit;

    if (!scpiLexCharacter(lexer, '#')) {
        return noToken(lexer, from);
    }
    if (skipOneOf(lexer, 'H', 'h')) {
        type = SCPI_TOKEN_HEXNUM;
    } else if (skipOneOf(lexer, 'Q', 'q')) {
        type = SCPI_TOKEN_OCTNUM;
        belongs = isOctalDigit;
    } else if (skipOneOf(lexer, 'B', 'b')) {
        type = SCPI_TOKEN_BINNUM;
        belongs = isBinaryDigit;
    }
    digits = lexer->pos;
    if (type == SCPI_TOKEN_UNKNOWN || skipWhile(lexer, belongs) == 0) {
        return noToken(lexer, from);
    }
    return tokenFrom(lexer, type, digits);
}

/* Digits, a dot, digits and at least one dot more: too many dots for a number. */
static scpi_token_t lexDottedAddress(scpi_lexer_t* lexer) {
    char* from = lexer->pos;
    int groups = 0;

    if (!(lexer->options & SCPI_OPTION_DOTTED_ADDRESS)) {
        return noToken(lexer, from);
    }
    do {
        if (skipWhile(lexer, scpiIsDigit) == 0) {
            return noToken(lexer, from);
        }
        groups++;
    } while (scpiLexCharacter(lexer, '.'));
    return groups >= 3 ? tokenFrom(lexer, SCPI_TOKEN_PROGRAM_MNEMONIC, from) : noToken(lexer, from);
}

/* Blanks, E, blanks, a sign, digits; all of it or nothing. */
static void skipExponent(scpi_lexer_t* lexer) {
    char* from = lexer->pos;

    (void)scpiLexBlanks(lexer);
    if (skipOneOf(lexer, 'E', 'e')) {
        (void)scpiLexBlanks(lexer);
        (void)skipOneOf(lexer, '+', '-');
        if (skipWhile(lexer, scpiIsDigit) > 0) {
            return;
        }
    }
    lexer->pos = from;
}

scpi_token_t scpiLexDecimal(scpi_lexer_t* lexer) {
    char* from = lexer->pos;
    int digits;

    (void)skipOneOf(lexer, '+', '-');
    digits = skipWhile(lexer, scpiIsDigit);
    if (scpiLexCharacter(lexer, '.')) {
        digits += skipWhile(lexer, scpiIsDigit);
    }
    if (digits == 0) {
        return noToken(lexer, from);
    }
    skipExponent(lexer);
    return tokenFrom(lexer, SCPI_TOKEN_DECIMAL_NUMERIC_PROGRAM_DATA, from);
}

/* Letters, a minus sign, one digit, each of which may be missing. */
static void skipSuffixPart(scpi_lexer_t* lexer) {
    (void)skipWhile(lexer, scpiIsLetter);
    (void)scpiLexCharacter(lexer, '-');
    if (!scpiLexAtEnd(lexer) && scpiIsDigit(*lexer->pos)) {
        lexer->pos++;
    }
}

static scpi_bool_t skipSuffix(scpi_lexer_t* lexer) {
    if (scpiLexAtEnd(lexer) || !(scpiIsLetter(*lexer->pos) || *lexer->pos == '/')) {
        return FALSE;
    }
    (void)scpiLexCharacter(lexer, '/');
    skipSuffixPart(lexer);
    while (skipOneOf(lexer, '/', '.')) {
        skipSuffixPart(lexer);
    }
    return TRUE;
}

static scpi_token_t lexDecimalAndSuffix(scpi_lexer_t* lexer) {
    scpi_token_t token = scpiLexDecimal(lexer);
    char* behind = lexer->pos;

    if (token.type == SCPI_TOKEN_UNKNOWN) {
        return token;
    }
    (void)scpiLexBlanks(lexer);
    if (skipSuffix(lexer)) {
        return tokenFrom(lexer, SCPI_TOKEN_DECIMAL_NUMERIC_PROGRAM_DATA_WITH_SUFFIX, token.ptr);
    }
    lexer->pos = behind;
    return token;
}

/* The token covers the outer quotes. */
static scpi_token_t lexQuoted(scpi_lexer_t* lexer, char quote, scpi_token_type_t type) {
    char* from = lexer->pos;

    if (!scpiLexCharacter(lexer, quote)) {
        return noToken(lexer, from);
    }
    while (!scpiLexAtEnd(lexer) && isSevenBit(*lexer->pos)) {
        if (*lexer->pos++ == quote && !scpiLexCharacter(lexer, quote)) {
            return tokenFrom(lexer, type, from);
        }
    }
    return noToken(lexer, from);
}

/* The token covers the data bytes only. */
static scpi_token_t lexBlock(scpi_lexer_t* lexer) {
    char* from = lexer->pos;
    char* data;
    long length = 0;
    int digits;

    if (!scpiLexCharacter(lexer, '#') || scpiLexAtEnd(lexer) || *lexer->pos < '1' ||
        *lexer->pos > '9') {
        return noToken(lexer, from);
    }
    digits = *lexer->pos++ - '0';
    for (; digits > 0 && !scpiLexAtEnd(lexer); digits--) {
        if (!scpiIsDigit(*lexer->pos)) {
            return noToken(lexer, from);
        }
        length = length * 10 + (*lexer->pos++ - '0');
    }
    if (digits > 0 || length > lexer->end - lexer->pos) {
        lexer->pos = lexer->end;
        return tokenFrom(lexer, SCPI_TOKEN_UNKNOWN, lexer->end);
    }
    data = lexer->pos;
    lexer->pos += length;
    return tokenFrom(lexer, SCPI_TOKEN_ARBITRARY_BLOCK_PROGRAM_DATA, data);
}

/* The token covers the parentheses. */
static scpi_token_t lexExpression(scpi_lexer_t* lexer) {
    char* from = lexer->pos;

    if (scpiLexCharacter(lexer, '(')) {
        (void)skipWhile(lexer, isExpressionCharacter);
        if (scpiLexCharacter(lexer, ')')) {
            return tokenFrom(lexer, SCPI_TOKEN_PROGRAM_EXPRESSION, from);
        }
    }
    return noToken(lexer, from);
}

static scpi_token_t lexMnemonic(scpi_lexer_t* lexer) {
    char* from = lexer->pos;
    return skipMnemonic(lexer, FALSE) ? tokenFrom(lexer, SCPI_TOKEN_PROGRAM_MNEMONIC, from)
                                      : noToken(lexer, from);
}

static scpi_token_t lexHashed(scpi_lexer_t* lexer) {
    const scpi_token_t number = lexPrefixedNumber(lexer);
    return number.type == SCPI_TOKEN_UNKNOWN ? lexBlock(lexer) : number;
}

static scpi_token_t lexNumeric(scpi_lexer_t* lexer) {
    const scpi_token_t address = lexDottedAddress(lexer);
    return address.type == SCPI_TOKEN_UNKNOWN ? lexDecimalAndSuffix(lexer) : address;
}

scpi_token_t scpiLexValue(scpi_lexer_t* lexer) {
    /* The first byte decides which kind it can be. */
    if (scpiLexAtEnd(lexer)) {
        return noToken(lexer, lexer->pos);
    }
    switch (*lexer->pos) {
    case '#':
        return lexHashed(lexer);
    case '"':
        return lexQuoted(lexer, '"', SCPI_TOKEN_DOUBLE_QUOTE_PROGRAM_DATA);
    case '\'':
        return lexQuoted(lexer, '\'', SCPI_TOKEN_SINGLE_QUOTE_PROGRAM_DATA);
    case '(':
        return lexExpression(lexer);
    default:
        return scpiIsLetter(*lexer->pos) ? lexMnemonic(lexer) : lexNumeric(lexer);
    }
}

int scpiNumberBase(const scpi_token_t* token) {
    switch (token->type) {
    case SCPI_TOKEN_HEXNUM:
        return 16;
    case SCPI_TOKEN_OCTNUM:
        return 8;
    case SCPI_TOKEN_BINNUM:
        return 2;
    default:
        return 10;
    }
}

/* Values separated by commas; the count, or -1 if the list breaks off. */
static int lexParameters(scpi_lexer_t* lexer, scpi_token_t* data) {
    char* from = lexer->pos;
    int count = 0;

    do {
        (void)scpiLexBlanks(lexer);
        if (scpiLexValue(lexer).type == SCPI_TOKEN_UNKNOWN) {
            return -1;
        }
        count++;
        *data = tokenFrom(lexer, SCPI_TOKEN_ALL_PROGRAM_DATA, from);
        (void)scpiLexBlanks(lexer);
    } while (scpiLexCharacter(lexer, ','));
    return count;
}

static scpi_bool_t lexTermination(scpi_lexer_t* lexer, message_termination_t* termination) {
    *termination = SCPI_MESSAGE_TERMINATION_NONE;
    if (scpiLexNewLine(lexer)) {
        *termination = SCPI_MESSAGE_TERMINATION_NL;
        return TRUE;
    }
    if (scpiLexCharacter(lexer, ';')) {
        *termination = SCPI_MESSAGE_TERMINATION_SEMICOLON;
        return TRUE;
    }
    return scpiLexAtEnd(lexer);
}

int scpiLexUnit(scpi_parser_state_t* state, char* text, int len, uint32_t options) {
    scpi_lexer_t lexer = scpiLexer(text, len, options);
    char* behindHeader;

    (void)scpiLexBlanks(&lexer);
    state->programHeader = scpiLexHeader(&lexer);
    state->numberOfParameters = 0;
    behindHeader = lexer.pos;
    state->programData = tokenFrom(&lexer, SCPI_TOKEN_UNKNOWN, behindHeader);
    if (state->programHeader.type != SCPI_TOKEN_UNKNOWN && scpiLexBlanks(&lexer) > 0) {
        state->numberOfParameters = lexParameters(&lexer, &state->programData);
        if (state->numberOfParameters < 0) {
            state->programData.type = SCPI_TOKEN_UNKNOWN;
            state->programData.ptr = behindHeader;
            state->programData.len = 0;
        }
    }
    if (!lexTermination(&lexer, &state->termination)) {
        char* unexpected = lexer.pos++;
        state->programHeader = tokenFrom(&lexer, SCPI_TOKEN_INVALID, unexpected);
    }
    return (int)(lexer.pos - text);
}
