/*
 * From received bytes to handlers: lines, message units, compound headers.
 */
#include "scpi/parser.h"

#include "index.h"
#include "lexer.h"
#include "output.h"
#include "scpi/error.h"
#include "scpi/options.h"

/* A line while it is run. */
typedef struct {
    char* unit;   /* the unit to run next */
    int len;      /* bytes from there on */
    char* header; /* the last header that was found, as completed; NULL at first */
    size_t headerLen;
    scpi_bool_t result;
} line_t;

void SCPI_Init(scpi_t* context, const scpi_command_t* commands, scpi_interface_t* interface,
               const scpi_unit_def_t* units, const char* idn1, const char* idn2, const char* idn3,
               const char* idn4, char* input_buffer, size_t input_buffer_length,
               scpi_error_t* error_queue_data, int16_t error_queue_size) {
    memset(context, 0, sizeof *context);
    context->cmdlist = commands;
    context->interface = interface;
    context->units = units;
    context->idn[0] = idn1;
    context->idn[1] = idn2;
    context->idn[2] = idn3;
    context->idn[3] = idn4;
    context->buffer.data = input_buffer;
    context->buffer.length = input_buffer_length;
    SCPI_ErrorInit(context, error_queue_data, error_queue_size);
}

void SCPI_SetOptions(scpi_t* context, uint32_t options) {
    context->options = options;
}

/* Length of what the header inherits from the one before it: up to the last colon of that. */
static size_t inheritedLength(const line_t* line, const scpi_token_t* header) {
    size_t len = line->headerLen;

    if (!line->header || line->header[0] == '*' || header->ptr[0] == '*' || header->ptr[0] == ':') {
        return 0;
    }
    while (len > 0 && line->header[len - 1] != ':') {
        len--;
    }
    return len;
}

/*
 * Finds the header's row, first as completed from its predecessor. Only when it is found so is the
 * prefix written in front of it, where the end of the previous unit stands: handlers look there.
 */
static const scpi_command_t* findHeader(scpi_t* context, const line_t* line, scpi_token_t* token) {
    const size_t inherited = inheritedLength(line, token);
    scpi_header_t header = scpiHeader(token->ptr, (size_t)token->len);
    const scpi_command_t* row;

    header.prefix = line->header;
    header.prefixLen = inherited;
    row = scpiFindCommand(context, &header);
    if (row && line->header && inherited > 0) {
        token->ptr -= inherited;
        token->len += (int)inherited;
        memmove(token->ptr, line->header, inherited);
    }
    if (!row && inherited > 0 && (context->options & SCPI_OPTION_RETRY_AS_WRITTEN)) {
        header = scpiHeader(token->ptr, (size_t)token->len);
        row = scpiFindCommand(context, &header);
    }
    return row;
}

/* Length of the unit without the line terminator that ends it. */
static size_t unitLength(const char* unit, int taken) {
    while (taken > 0 && (unit[taken - 1] == '\r' || unit[taken - 1] == '\n')) {
        taken--;
    }
    return (size_t)taken;
}

static void prepareCommand(scpi_t* context, const scpi_command_t* row) {
    const scpi_parser_state_t* state = &context->parser_state;

    context->param_list.cmd = row;
    context->param_list.cmd_raw.data = state->programHeader.ptr;
    context->param_list.cmd_raw.length = (size_t)state->programHeader.len;
    context->param_list.cmd_raw.position = 0;
    context->param_list.lex_state.buffer = state->programData.ptr;
    context->param_list.lex_state.pos = state->programData.ptr;
    context->param_list.lex_state.len = state->programData.len;
    context->cmd_error = FALSE;
    context->output_count = 0;
    context->input_count = 0;
    context->arbitrary_remaining = 0;
}

/* Calls the handler; TRUE if it says so and no error was pushed. */
static scpi_bool_t callHandler(scpi_t* context, scpi_bool_t query) {
    const scpi_command_callback_t callback = context->param_list.cmd->callback;

    if (!callback) {
        return TRUE;
    }
    if (callback(context) != SCPI_RES_OK) {
        if (!context->cmd_error) {
            SCPI_ErrorPush(context, SCPI_ERROR_EXECUTION_ERROR);
        }
        return FALSE;
    }
    if (context->cmd_error) {
        return FALSE;
    }
    if (query) {
        context->first_output = FALSE;
    }
    return TRUE;
}

static scpi_bool_t runCommand(scpi_t* context, const scpi_command_t* row) {
    const scpi_token_t* header = &context->parser_state.programHeader;
    const scpi_bool_t query = header->ptr[header->len - 1] == '?';
    const lex_state_t* parameters = &context->param_list.lex_state;
    scpi_bool_t result;

    /* Before the handler runs, which may fail or write nothing: clients see the separator then. */
    if (query && !context->first_output) {
        (void)scpiWriteText(context, ";");
    }
    prepareCommand(context, row);
    result = callHandler(context, query);
    if (!context->cmd_error && parameters->pos < parameters->buffer + parameters->len) {
        SCPI_ErrorPush(context, SCPI_ERROR_PARAMETER_NOT_ALLOWED);
        result = FALSE;
    }
    return result;
}

static scpi_bool_t runUnit(scpi_t* context, line_t* line, int taken) {
    scpi_token_t* header = &context->parser_state.programHeader;
    const scpi_command_t* row;

    if (header->type == SCPI_TOKEN_INVALID) {
        SCPI_ErrorPush(context, SCPI_ERROR_INVALID_CHARACTER);
        return FALSE;
    }
    if (header->len == 0) {
        return TRUE;
    }
    row = findHeader(context, line, header);
    if (!row) {
        SCPI_ErrorPushEx(context, SCPI_ERROR_UNDEFINED_HEADER, line->unit,
                         unitLength(line->unit, taken));
        return FALSE;
    }
    line->header = header->ptr;
    line->headerLen = (size_t)header->len;
    return runCommand(context, row);
}

static void endResponse(scpi_t* context) {
    (void)scpiWriteText(context, SCPI_LINE_ENDING);
    if (context->interface->flush) {
        (void)context->interface->flush(context);
    }
}

/* Runs a line. `lexed` is the length of its first unit if the parser's state holds that, else 0. */
static scpi_bool_t runLine(scpi_t* context, char* data, int len, int lexed) {
    line_t line = {NULL, 0, NULL, 0, TRUE};

    line.unit = data;
    line.len = len;
    context->output_count = 0;
    context->first_output = TRUE;
    while (line.len > 0) {
        const int taken =
            lexed > 0 ? lexed
                      : scpiLexUnit(&context->parser_state, line.unit, line.len, context->options);
        if (!runUnit(context, &line, taken)) {
            line.result = FALSE;
        }
        line.unit += taken;
        line.len -= taken;
        lexed = 0;
    }
    if (!context->first_output) {
        endResponse(context);
    }
    return line.result;
}

scpi_bool_t SCPI_Parse(scpi_t* context, char* data, int len) {
    if (!context || (!data && len > 0)) {
        return FALSE;
    }
    return runLine(context, data, len, 0);
}

/*
 * Length of the first complete line in the buffer, 0 if there is none yet. *lastUnit becomes that
 * of its last unit, which the parser's state then holds.
 */
static int completeLine(scpi_t* context, int* lastUnit) {
    const int held = (int)context->buffer.position;
    int scanned = 0;

    while (scanned < held) {
        *lastUnit = scpiLexUnit(&context->parser_state, context->buffer.data + scanned,
                                held - scanned, context->options);
        scanned += *lastUnit;
        if (context->parser_state.programHeader.type != SCPI_TOKEN_INVALID &&
            context->parser_state.termination == SCPI_MESSAGE_TERMINATION_NL) {
            return scanned;
        }
    }
    return 0;
}

static void terminateInput(scpi_t* context) {
    context->buffer.data[context->buffer.position] = '\0';
}

static scpi_bool_t runPending(scpi_t* context) {
    scpi_bool_t result;

    terminateInput(context);
    result = SCPI_Parse(context, context->buffer.data, (int)context->buffer.position);
    context->buffer.position = 0;
    return result;
}

static void dropLine(scpi_t* context, size_t len) {
    scpi_buffer_t* buffer = &context->buffer;

    memmove(buffer->data, buffer->data + len, buffer->position - len);
    buffer->position -= len;
    terminateInput(context);
}

static scpi_bool_t runCompleteLines(scpi_t* context) {
    scpi_bool_t result = TRUE;
    int lastUnit = 0;
    int len;

    while ((len = completeLine(context, &lastUnit)) > 0) {
        /* A line of one unit, as most are, has been lexed with that. */
        result = runLine(context, context->buffer.data, len, lastUnit == len ? len : 0);
        dropLine(context, (size_t)len);
    }
    return result;
}

scpi_bool_t SCPI_Input(scpi_t* context, const char* data, int len) {
    scpi_buffer_t* buffer;

    if (!context || len < 0 || (!data && len > 0)) {
        return FALSE;
    }
    buffer = &context->buffer;
    if (!buffer->data || buffer->length < buffer->position + 1 ||
        (size_t)len > buffer->length - buffer->position - 1) {
        buffer->position = 0;
        SCPI_ErrorPush(context, SCPI_ERROR_INPUT_BUFFER_OVERRUN);
        return FALSE;
    }
    if (len == 0) {
        return runPending(context);
    }
    memcpy(buffer->data + buffer->position, data, (size_t)len);
    buffer->position += (size_t)len;
    terminateInput(context);
    return runCompleteLines(context);
}
