/*
 * The error queue.
 */
#include "scpi/error.h"

#include "errorinfo.h"
#include "scpi/constants.h"
#include "scpi/ieee488.h"
#include "scpi/parser.h"

/* Codes from `first` down to `last` set this bit of the standard event status. */
typedef struct {
    int16_t first;
    int16_t last;
    scpi_reg_val_t bit;
} error_class_t;

/* Positive codes set no bit: remote programs rely on it
 * (docs/compatibility.md: positive-errors). */
static const error_class_t errorClasses[] = {
    {-100, -199, ESR_CER}, {-200, -299, ESR_EER}, {-300, -399, ESR_DER}, {-400, -499, ESR_QER},
    {-500, -599, ESR_PON}, {-600, -699, ESR_URQ}, {-700, -799, ESR_REQ}, {-800, -899, ESR_OPC},
};

static scpi_reg_val_t statusBitOf(int16_t err) {
    size_t i;
    for (i = 0; i < sizeof errorClasses / sizeof errorClasses[0]; i++) {
        if (err <= errorClasses[i].first && err >= errorClasses[i].last) {
            return errorClasses[i].bit;
        }
    }
    return 0;
}

static scpi_error_t makeError(int16_t code) {
    scpi_error_t error;
    memset(&error, 0, sizeof error);
    error.error_code = code;
    return error;
}

static int16_t nextIndex(const scpi_fifo_t* queue, int16_t index) {
    return (int16_t)((index + 1) % queue->size);
}

static void append(scpi_fifo_t* queue, const scpi_error_t* error) {
    queue->data[queue->wr] = *error;
    queue->wr = nextIndex(queue, queue->wr);
    queue->count++;
}

static scpi_bool_t takeOldest(scpi_fifo_t* queue, scpi_error_t* error) {
    if (queue->count == 0) {
        return FALSE;
    }
    *error = queue->data[queue->rd];
    queue->rd = nextIndex(queue, queue->rd);
    queue->count--;
    return TRUE;
}

void SCPI_ErrorInit(scpi_t* context, scpi_error_t* data, int16_t size) {
    scpi_fifo_t* queue = &context->error_queue;
    queue->wr = 0;
    queue->rd = 0;
    queue->count = 0;
    queue->size = (int16_t)(data && size > 0 ? size : 0);
    queue->data = data;
}

static void callErrorCallback(scpi_t* context, int16_t err) {
    if (context->interface && context->interface->error) {
        (void)context->interface->error(context, err);
    }
}

static void noteEmptyQueue(scpi_t* context) {
    if (context->error_queue.count == 0 && (SCPI_RegGet(context, SCPI_REG_STB) & STB_QMA)) {
        SCPI_RegClearBits(context, SCPI_REG_STB, STB_QMA);
        callErrorCallback(context, SCPI_ERROR_NO_ERROR);
    }
}

void SCPI_ErrorClear(scpi_t* context) {
    scpi_error_t error;
    while (takeOldest(&context->error_queue, &error)) {
        scpiErrorInfoRelease(context, &error, FALSE);
    }
    noteEmptyQueue(context);
}

scpi_bool_t SCPI_ErrorPop(scpi_t* context, scpi_error_t* error) {
    if (!context || !error) {
        return FALSE;
    }
    *error = makeError(SCPI_ERROR_NO_ERROR);
    if (takeOldest(&context->error_queue, error)) {
        scpiErrorInfoHandOver(context, error);
    }
    noteEmptyQueue(context);
    return TRUE;
}

static size_t infoLength(const char* info, size_t limit) {
    const char* end;
    if (limit == 0) {
        limit = SCPI_STD_ERROR_DESC_MAX_STRING_LENGTH;
    }
    end = (const char*)memchr(info, '\0', limit);
    return end ? (size_t)(end - info) : limit;
}

/* The newest error gives its place to -350; the oldest stay. */
static void replaceNewest(scpi_t* context) {
    scpi_fifo_t* queue = &context->error_queue;
    scpi_error_t* newest;

    if (queue->size == 0) {
        return;
    }
    newest = &queue->data[(queue->wr + queue->size - 1) % queue->size];
    scpiErrorInfoRelease(context, newest, TRUE);
    *newest = makeError(SCPI_ERROR_QUEUE_OVERFLOW);
}

/* FALSE if there was no room for it. */
static scpi_bool_t queueError(scpi_t* context, int16_t err, const char* info, size_t info_len) {
    scpi_error_t error = makeError(err);

    if (context->error_queue.count >= context->error_queue.size) {
        replaceNewest(context);
        return FALSE;
    }
    if (info) {
        scpiErrorInfoKeep(context, &error, info, infoLength(info, info_len));
    }
    append(&context->error_queue, &error);
    return TRUE;
}

void SCPI_ErrorPushEx(scpi_t* context, int16_t err, char* info, size_t info_len) {
    const scpi_bool_t queued = queueError(context, err, info, info_len);

    SCPI_RegSetBits(context, SCPI_REG_ESR, statusBitOf(err));
    SCPI_RegSetBits(context, SCPI_REG_STB, STB_QMA);
    callErrorCallback(context, err);
    if (!queued) {
        callErrorCallback(context, SCPI_ERROR_QUEUE_OVERFLOW);
    }
    context->cmd_error = TRUE;
}

void SCPI_ErrorPush(scpi_t* context, int16_t err) {
    SCPI_ErrorPushEx(context, err, NULL, 0);
}

int32_t SCPI_ErrorCount(scpi_t* context) {
    return context->error_queue.count;
}

const char* SCPI_ErrorTranslate(int16_t err) {
    switch (err) {
#define X(def, val, str)                                                                           \
    case def:                                                                                      \
        return str;
        SCPI_CONFIGURED_ERRORS
#undef X
    default:
        return "Unknown error";
    }
}
