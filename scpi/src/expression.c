/*
 * Entries of numeric and channel lists.
 */
#include "scpi/expression.h"

#include "lexer.h"
#include "scpi/error.h"
#include "scpi/parser.h"

/* A tuple of channel numbers: the first `room` of them are stored. */
typedef struct {
    int32_t* values;
    size_t room;
    size_t count;
} tuple_t;

static scpi_expr_result_t failWith(scpi_t* context, int16_t error) {
    SCPI_ErrorPush(context, error);
    return SCPI_EXPR_ERROR;
}

/* The text within the parentheses. */
static scpi_lexer_t insideOf(const scpi_parameter_t* param) {
    return scpiLexer(param->ptr + 1, param->len - 2, 0);
}

static scpi_bool_t lexNumber(scpi_lexer_t* lexer, scpi_token_t* number) {
    *number = scpiLexDecimal(lexer);
    return number->type != SCPI_TOKEN_UNKNOWN;
}

/* from or from:to; a missing first number is the end of the list. */
static scpi_expr_result_t lexRange(scpi_lexer_t* lexer, scpi_bool_t* isRange,
                                   scpi_token_t* valueFrom, scpi_token_t* valueTo) {
    scpi_token_t to;

    if (!lexNumber(lexer, valueFrom)) {
        return SCPI_EXPR_NO_MORE;
    }
    *isRange = scpiLexCharacter(lexer, ':');
    if (*isRange) {
        if (!lexNumber(lexer, &to)) {
            return SCPI_EXPR_ERROR;
        }
        *valueTo = to;
    }
    return SCPI_EXPR_OK;
}

scpi_expr_result_t SCPI_ExprNumericListEntry(scpi_t* context, scpi_parameter_t* param, int index,
                                             scpi_bool_t* isRange, scpi_parameter_t* valueFrom,
                                             scpi_parameter_t* valueTo) {
    scpi_expr_result_t result = SCPI_EXPR_OK;
    scpi_lexer_t lexer;
    int i;

    if (!param || !isRange || !valueFrom || !valueTo) {
        return failWith(context, SCPI_ERROR_SYSTEM_ERROR);
    }
    if (param->type != SCPI_TOKEN_PROGRAM_EXPRESSION) {
        return failWith(context, SCPI_ERROR_DATA_TYPE_ERROR);
    }
    lexer = insideOf(param);
    for (i = 0; i <= index && result == SCPI_EXPR_OK; i++) {
        if (i > 0 && scpiLexAtEnd(&lexer)) {
            return SCPI_EXPR_NO_MORE;
        }
        result = (i > 0 && !scpiLexCharacter(&lexer, ','))
                     ? SCPI_EXPR_ERROR
                     : lexRange(&lexer, isRange, valueFrom, valueTo);
    }
    return result == SCPI_EXPR_ERROR ? failWith(context, SCPI_ERROR_EXPRESSION_PARSING_ERROR)
                                     : result;
}

#define DEFINE_LIST_ENTRY_READER(name, type, convert)                                              \
    scpi_expr_result_t name(scpi_t* context, scpi_parameter_t* param, int index,                   \
                            scpi_bool_t* isRange, type* valueFrom, type* valueTo) {                \
        scpi_parameter_t from;                                                                     \
        scpi_parameter_t to;                                                                       \
        scpi_expr_result_t result;                                                                 \
        if (!isRange || !valueFrom || !valueTo) {                                                  \
            return failWith(context, SCPI_ERROR_SYSTEM_ERROR);                                     \
        }                                                                                          \
        result = SCPI_ExprNumericListEntry(context, param, index, isRange, &from, &to);            \
        if (result == SCPI_EXPR_OK) {                                                              \
            (void)convert(context, &from, valueFrom);                                              \
            if (*isRange) {                                                                        \
                (void)convert(context, &to, valueTo);                                              \
            }                                                                                      \
        }                                                                                          \
        return result;                                                                             \
    }

DEFINE_LIST_ENTRY_READER(SCPI_ExprNumericListEntryInt, int32_t, SCPI_ParamToInt32)
DEFINE_LIST_ENTRY_READER(SCPI_ExprNumericListEntryDouble, double, SCPI_ParamToDouble)

/* Numbers joined by exclamation marks; FALSE if one is missing. */
static scpi_bool_t lexTuple(scpi_t* context, scpi_lexer_t* lexer, tuple_t* tuple) {
    scpi_token_t number;

    tuple->count = 0;
    do {
        if (!lexNumber(lexer, &number)) {
            return FALSE;
        }
        if (tuple->count < tuple->room) {
            (void)SCPI_ParamToInt32(context, &number, &tuple->values[tuple->count]);
        }
        tuple->count++;
    } while (scpiLexCharacter(lexer, '!'));
    return TRUE;
}

static scpi_bool_t lexTupleRange(scpi_t* context, scpi_lexer_t* lexer, scpi_bool_t* isRange,
                                 tuple_t* from, tuple_t* to) {
    if (!lexTuple(context, lexer, from)) {
        return FALSE;
    }
    *isRange = scpiLexCharacter(lexer, ':');
    return !*isRange || (lexTuple(context, lexer, to) && to->count == from->count);
}

/* The entry at an index; each one before it is read on the way and overwritten. */
static scpi_expr_result_t findTupleRange(scpi_t* context, scpi_lexer_t* lexer, int index,
                                         scpi_bool_t* isRange, tuple_t* from, tuple_t* to) {
    int i;

    if (!scpiLexCharacter(lexer, '@')) {
        return SCPI_EXPR_ERROR;
    }
    for (i = 0; i <= index; i++) {
        if (i > 0 && scpiLexAtEnd(lexer)) {
            return SCPI_EXPR_NO_MORE;
        }
        if (i > 0 && !scpiLexCharacter(lexer, ',')) {
            return SCPI_EXPR_ERROR;
        }
        if (!lexTupleRange(context, lexer, isRange, from, to)) {
            return SCPI_EXPR_ERROR;
        }
    }
    return SCPI_EXPR_OK;
}

scpi_expr_result_t SCPI_ExprChannelListEntry(scpi_t* context, scpi_parameter_t* param, int index,
                                             scpi_bool_t* isRange, int32_t* valuesFrom,
                                             int32_t* valuesTo, size_t length, size_t* dimensions) {
    tuple_t from = {NULL, 0, 0};
    tuple_t to = {NULL, 0, 0};
    scpi_expr_result_t result;
    scpi_lexer_t lexer;

    if (!param || !isRange || !dimensions || (length > 0 && (!valuesFrom || !valuesTo))) {
        return failWith(context, SCPI_ERROR_SYSTEM_ERROR);
    }
    if (param->type != SCPI_TOKEN_PROGRAM_EXPRESSION) {
        return failWith(context, SCPI_ERROR_DATA_TYPE_ERROR);
    }
    from.values = valuesFrom;
    to.values = valuesTo;
    from.room = to.room = length;
    lexer = insideOf(param);
    result = findTupleRange(context, &lexer, index, isRange, &from, &to);
    if (result == SCPI_EXPR_ERROR) {
        return failWith(context, SCPI_ERROR_EXPRESSION_PARSING_ERROR);
    }
    *dimensions = from.count;
    return result;
}
