/*
 * Readers of a command's parameters.
 */
#include "lexer.h"
#include "match.h"
#include "scpi/error.h"
#include "scpi/parser.h"

#include <stdlib.h>

const scpi_choice_def_t scpi_bool_def[] = {{"OFF", 0}, {"ON", 1}, SCPI_CHOICE_LIST_END};

static scpi_token_t absentToken(scpi_token_type_t type) {
    scpi_token_t token;
    token.type = type;
    token.ptr = NULL;
    token.len = 0;
    return token;
}

static scpi_bool_t failWith(scpi_t* context, int16_t error) {
    SCPI_ErrorPush(context, error);
    return FALSE;
}

static scpi_bool_t absent(scpi_t* context, scpi_parameter_t* parameter, scpi_bool_t mandatory) {
    if (mandatory) {
        *parameter = absentToken(SCPI_TOKEN_UNKNOWN);
        return failWith(context, SCPI_ERROR_MISSING_PARAMETER);
    }
    *parameter = absentToken(SCPI_TOKEN_PROGRAM_MNEMONIC);
    return FALSE;
}

scpi_bool_t SCPI_Parameter(scpi_t* context, scpi_parameter_t* parameter, scpi_bool_t mandatory) {
    lex_state_t* state = &context->param_list.lex_state;
    scpi_lexer_t lexer;

    if (!parameter) {
        return failWith(context, SCPI_ERROR_SYSTEM_ERROR);
    }
    lexer = scpiLexer(state->buffer, state->len, context->options);
    lexer.pos = state->pos;
    if (scpiLexAtEnd(&lexer)) {
        return absent(context, parameter, mandatory);
    }
    *parameter = absentToken(SCPI_TOKEN_UNKNOWN);
    if (context->input_count != 0 && !scpiLexCharacter(&lexer, ',')) {
        return failWith(context, SCPI_ERROR_INVALID_SEPARATOR);
    }
    context->input_count++;
    (void)scpiLexBlanks(&lexer);
    *parameter = scpiLexValue(&lexer);
    (void)scpiLexBlanks(&lexer);
    state->pos = lexer.pos;
    return parameter->type != SCPI_TOKEN_UNKNOWN ||
           failWith(context, SCPI_ERROR_INVALID_STRING_DATA);
}

scpi_bool_t SCPI_ParamIsValid(scpi_parameter_t* parameter) {
    return parameter->type != SCPI_TOKEN_UNKNOWN;
}

scpi_bool_t SCPI_ParamErrorOccurred(scpi_t* context) {
    return context->cmd_error;
}

scpi_bool_t SCPI_ParamIsNumber(scpi_parameter_t* parameter, scpi_bool_t suffixAllowed) {
    switch (parameter->type) {
    case SCPI_TOKEN_HEXNUM:
    case SCPI_TOKEN_OCTNUM:
    case SCPI_TOKEN_BINNUM:
    case SCPI_TOKEN_DECIMAL_NUMERIC_PROGRAM_DATA:
        return TRUE;
    case SCPI_TOKEN_DECIMAL_NUMERIC_PROGRAM_DATA_WITH_SUFFIX:
        return suffixAllowed;
    default:
        return FALSE;
    }
}

/* What every conversion asks first. */
static scpi_bool_t convertible(scpi_t* context, scpi_parameter_t* parameter, const void* value) {
    if (!parameter || !value) {
        return failWith(context, SCPI_ERROR_SYSTEM_ERROR);
    }
    return SCPI_ParamIsNumber(parameter, TRUE);
}

/* The integer that the token begins with, 0 and FALSE if there is none. */
static scpi_bool_t wholeNumber(const scpi_parameter_t* parameter, scpi_bool_t isSigned,
                               uint64_t* whole) {
    const int base = scpiNumberBase(parameter);
    char* end = NULL;

    *whole = isSigned && base == 10 ? (uint64_t)strtoll(parameter->ptr, &end, base)
                                    : (uint64_t)strtoull(parameter->ptr, &end, base);
    return end != parameter->ptr;
}

/* A value that does not fit keeps its low bits. */
#define DEFINE_WHOLE_CONVERSION(name, type, isSigned)                                              \
    scpi_bool_t name(scpi_t* context, scpi_parameter_t* parameter, type* value) {                  \
        uint64_t whole = 0;                                                                        \
        scpi_bool_t result;                                                                        \
        if (!convertible(context, parameter, value)) {                                             \
            return FALSE;                                                                          \
        }                                                                                          \
        result = wholeNumber(parameter, isSigned, &whole);                                         \
        *value = (type)whole;                                                                      \
        return result;                                                                             \
    }

DEFINE_WHOLE_CONVERSION(SCPI_ParamToInt32, int32_t, TRUE)
DEFINE_WHOLE_CONVERSION(SCPI_ParamToUInt32, uint32_t, FALSE)
DEFINE_WHOLE_CONVERSION(SCPI_ParamToInt64, int64_t, TRUE)
DEFINE_WHOLE_CONVERSION(SCPI_ParamToUInt64, uint64_t, FALSE)

/* Digits of another base than 10 are an integer of that many bits first. */
#define DEFINE_REAL_CONVERSION(name, type, fromDecimal, bits)                                      \
    scpi_bool_t name(scpi_t* context, scpi_parameter_t* parameter, type* value) {                  \
        char* end = NULL;                                                                          \
        uint64_t whole = 0;                                                                        \
        scpi_bool_t result;                                                                        \
        if (!convertible(context, parameter, value)) {                                             \
            return FALSE;                                                                          \
        }                                                                                          \
        if (scpiNumberBase(parameter) == 10) {                                                     \
            *value = fromDecimal(parameter->ptr, &end);                                            \
            return end != parameter->ptr;                                                          \
        }                                                                                          \
        result = wholeNumber(parameter, FALSE, &whole);                                            \
        *value = (type)(bits)whole;                                                                \
        return result;                                                                             \
    }

DEFINE_REAL_CONVERSION(SCPI_ParamToFloat, float, strtof, uint32_t)
DEFINE_REAL_CONVERSION(SCPI_ParamToDouble, double, strtod, uint64_t)

scpi_bool_t SCPI_ParamToChoice(scpi_t* context, scpi_parameter_t* parameter,
                               const scpi_choice_def_t* options, int32_t* value) {
    const scpi_choice_def_t* option;

    if (!parameter || !options || !value) {
        return failWith(context, SCPI_ERROR_SYSTEM_ERROR);
    }
    if (parameter->type != SCPI_TOKEN_PROGRAM_MNEMONIC) {
        return failWith(context, SCPI_ERROR_DATA_TYPE_ERROR);
    }
    for (option = options; option->name; option++) {
        if (scpiMatchChoice(option->name, parameter->ptr, (size_t)parameter->len)) {
            *value = option->tag;
            return TRUE;
        }
    }
    return failWith(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE);
}

scpi_bool_t SCPI_ChoiceToName(const scpi_choice_def_t* options, int32_t tag, const char** text) {
    const scpi_choice_def_t* option;

    for (option = options; option->name; option++) {
        if (option->tag == tag) {
            *text = option->name;
            return TRUE;
        }
    }
    return FALSE;
}

/* The next parameter; an error if one of the places that the caller was given for it is NULL. */
static scpi_bool_t readParameter(scpi_t* context, const void* place, const void* otherPlace,
                                 scpi_bool_t mandatory, scpi_parameter_t* parameter) {
    if (!place || !otherPlace) {
        return failWith(context, SCPI_ERROR_SYSTEM_ERROR);
    }
    return SCPI_Parameter(context, parameter, mandatory);
}

/* The next parameter, which must be a number without a suffix. */
static scpi_bool_t readPlainNumber(scpi_t* context, const void* value, scpi_bool_t mandatory,
                                   scpi_parameter_t* parameter) {
    if (!readParameter(context, value, value, mandatory, parameter)) {
        return FALSE;
    }
    if (SCPI_ParamIsNumber(parameter, FALSE)) {
        return TRUE;
    }
    return failWith(context, SCPI_ParamIsNumber(parameter, TRUE) ? SCPI_ERROR_SUFFIX_NOT_ALLOWED
                                                                 : SCPI_ERROR_DATA_TYPE_ERROR);
}

#define DEFINE_NUMBER_READER(name, type, convert)                                                  \
    scpi_bool_t name(scpi_t* context, type* value, scpi_bool_t mandatory) {                        \
        scpi_parameter_t parameter;                                                                \
        return readPlainNumber(context, value, mandatory, &parameter) &&                           \
               convert(context, &parameter, value);                                                \
    }

DEFINE_NUMBER_READER(SCPI_ParamInt32, int32_t, SCPI_ParamToInt32)
DEFINE_NUMBER_READER(SCPI_ParamUInt32, uint32_t, SCPI_ParamToUInt32)
DEFINE_NUMBER_READER(SCPI_ParamInt64, int64_t, SCPI_ParamToInt64)
DEFINE_NUMBER_READER(SCPI_ParamUInt64, uint64_t, SCPI_ParamToUInt64)
DEFINE_NUMBER_READER(SCPI_ParamFloat, float, SCPI_ParamToFloat)
DEFINE_NUMBER_READER(SCPI_ParamDouble, double, SCPI_ParamToDouble)

static scpi_bool_t isQuoted(const scpi_parameter_t* parameter) {
    return parameter->type == SCPI_TOKEN_SINGLE_QUOTE_PROGRAM_DATA ||
           parameter->type == SCPI_TOKEN_DOUBLE_QUOTE_PROGRAM_DATA;
}

scpi_bool_t SCPI_ParamCharacters(scpi_t* context, const char** value, size_t* len,
                                 scpi_bool_t mandatory) {
    scpi_parameter_t parameter;

    if (!readParameter(context, value, len, mandatory, &parameter)) {
        return FALSE;
    }
    *value = isQuoted(&parameter) ? parameter.ptr + 1 : parameter.ptr;
    *len = (size_t)(isQuoted(&parameter) ? parameter.len - 2 : parameter.len);
    return TRUE;
}

scpi_bool_t SCPI_ParamArbitraryBlock(scpi_t* context, const char** value, size_t* len,
                                     scpi_bool_t mandatory) {
    scpi_parameter_t parameter;

    if (!readParameter(context, value, len, mandatory, &parameter)) {
        return FALSE;
    }
    if (parameter.type != SCPI_TOKEN_ARBITRARY_BLOCK_PROGRAM_DATA) {
        return failWith(context, SCPI_ERROR_DATA_TYPE_ERROR);
    }
    *value = parameter.ptr;
    *len = (size_t)parameter.len;
    return TRUE;
}

/* The text within the quotes, doubled ones made single; looks at no more than room - 1 bytes. */
static size_t copyUnquoted(const scpi_parameter_t* parameter, char* buffer, size_t room) {
    const char quote = parameter->ptr[0];
    const size_t inside = (size_t)parameter->len - 2;
    const size_t looked = inside < room - 1 ? inside : room - 1;
    size_t copied = 0;
    size_t i;

    for (i = 1; i <= looked; i++) {
        buffer[copied++] = parameter->ptr[i];
        if (parameter->ptr[i] == quote) {
            i++;
        }
    }
    buffer[copied] = '\0';
    return copied;
}

scpi_bool_t SCPI_ParamCopyText(scpi_t* context, char* buffer, size_t buffer_len, size_t* copy_len,
                               scpi_bool_t mandatory) {
    scpi_parameter_t parameter;

    if (!readParameter(context, buffer, copy_len, mandatory, &parameter)) {
        return FALSE;
    }
    if (!isQuoted(&parameter)) {
        return failWith(context, SCPI_ERROR_DATA_TYPE_ERROR);
    }
    *copy_len = buffer_len > 0 ? copyUnquoted(&parameter, buffer, buffer_len) : 0;
    return TRUE;
}

static scpi_bool_t toBool(scpi_t* context, scpi_parameter_t* parameter, scpi_bool_t* value) {
    int32_t number = 0;

    if (parameter->type == SCPI_TOKEN_DECIMAL_NUMERIC_PROGRAM_DATA) {
        (void)SCPI_ParamToInt32(context, parameter, &number);
    } else if (!SCPI_ParamToChoice(context, parameter, scpi_bool_def, &number)) {
        return FALSE;
    }
    *value = number != 0;
    return TRUE;
}

scpi_bool_t SCPI_ParamBool(scpi_t* context, scpi_bool_t* value, scpi_bool_t mandatory) {
    scpi_parameter_t parameter;

    return readParameter(context, value, value, mandatory, &parameter) &&
           toBool(context, &parameter, value);
}

scpi_bool_t SCPI_ParamChoice(scpi_t* context, const scpi_choice_def_t* options, int32_t* value,
                             scpi_bool_t mandatory) {
    scpi_parameter_t parameter;

    return readParameter(context, options, value, mandatory, &parameter) &&
           SCPI_ParamToChoice(context, &parameter, options, value);
}

/* Only the first value is mandatory; a bad later one ends the reading with its error pushed. */
#define DEFINE_ARRAY_READER(name, type, readValue)                                                 \
    scpi_bool_t name(scpi_t* context, type data[], size_t i_count, size_t* o_count,                \
                     scpi_array_format_t format, scpi_bool_t mandatory) {                          \
        size_t count = 0;                                                                          \
        if (format != SCPI_FORMAT_ASCII) {                                                         \
            return FALSE;                                                                          \
        }                                                                                          \
        while (count < i_count && readValue(context, data + count, mandatory && count == 0)) {     \
            count++;                                                                               \
        }                                                                                          \
        *o_count = count;                                                                          \
        return !mandatory || count > 0;                                                            \
    }

DEFINE_ARRAY_READER(SCPI_ParamArrayInt32, int32_t, SCPI_ParamInt32)
DEFINE_ARRAY_READER(SCPI_ParamArrayUInt32, uint32_t, SCPI_ParamUInt32)
DEFINE_ARRAY_READER(SCPI_ParamArrayInt64, int64_t, SCPI_ParamInt64)
DEFINE_ARRAY_READER(SCPI_ParamArrayUInt64, uint64_t, SCPI_ParamUInt64)
DEFINE_ARRAY_READER(SCPI_ParamArrayFloat, float, SCPI_ParamFloat)
DEFINE_ARRAY_READER(SCPI_ParamArrayDouble, double, SCPI_ParamDouble)
