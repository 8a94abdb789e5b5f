#include "errorinfo.h"

#include "scpi/parser.h"

#include <string.h>

#if !USE_DEVICE_DEPENDENT_ERROR_INFORMATION

scpi_bool_t scpiErrorInfo(const scpi_t* context, const scpi_error_t* error, scpi_info_t* info) {
    (void)context;
    (void)error;
    (void)info;
    return FALSE;
}

void scpiErrorInfoKeep(scpi_t* context, scpi_error_t* error, const char* text, size_t len) {
    (void)context;
    (void)error;
    (void)text;
    (void)len;
}

void scpiErrorInfoRelease(scpi_t* context, scpi_error_t* error, scpi_bool_t newest) {
    (void)context;
    (void)error;
    (void)newest;
}

void scpiErrorInfoHandOver(scpi_t* context, scpi_error_t* error) {
    (void)context;
    (void)error;
}

void scpiErrorInfoFree(scpi_error_t* error) {
    (void)error;
}

#elif USE_MEMORY_ALLOCATION_FREE

scpi_bool_t scpiErrorInfo(const scpi_t* context, const scpi_error_t* error, scpi_info_t* info) {
    (void)context;
    if (!error->device_dependent_info) {
        return FALSE;
    }
    info->first = error->device_dependent_info;
    info->firstLen = strlen(info->first);
    info->second = NULL;
    info->secondLen = 0;
    return TRUE;
}

void scpiErrorInfoKeep(scpi_t* context, scpi_error_t* error, const char* text, size_t len) {
    char* copy = (char*)malloc(len + 1);
    (void)context;
    if (copy) {
        memcpy(copy, text, len);
        copy[len] = '\0';
    }
    error->device_dependent_info = copy;
}

void scpiErrorInfoRelease(scpi_t* context, scpi_error_t* error, scpi_bool_t newest) {
    (void)context;
    (void)newest;
    scpiErrorInfoFree(error);
}

void scpiErrorInfoHandOver(scpi_t* context, scpi_error_t* error) {
    (void)context;
    (void)error;
}

void scpiErrorInfoFree(scpi_error_t* error) {
    free(error->device_dependent_info);
    error->device_dependent_info = NULL;
}

#else

/*
 * The ring: `count` bytes are free, `wr` is where the next text begins. Texts lie in the order of
 * their errors, each with its NUL, so that only the oldest and the newest are ever released.
 */

void SCPI_InitHeap(scpi_t* context, char* error_info_heap, size_t error_info_heap_length) {
    context->error_info_heap.data = error_info_heap;
    context->error_info_heap.size = error_info_heap ? error_info_heap_length : 0;
    context->error_info_heap.count = context->error_info_heap.size;
    context->error_info_heap.wr = 0;
}

static size_t bytesToNul(const char* text, size_t limit) {
    const char* end = (const char*)memchr(text, '\0', limit);
    return end ? (size_t)(end - text) : limit;
}

scpi_bool_t scpiErrorInfo(const scpi_t* context, const scpi_error_t* error, scpi_info_t* info) {
    const scpi_error_info_heap_t* heap = &context->error_info_heap;
    size_t toEnd;

    if (!error->device_dependent_info || !heap->data) {
        return FALSE;
    }
    toEnd = (size_t)(heap->data + heap->size - error->device_dependent_info);
    info->first = error->device_dependent_info;
    info->firstLen = bytesToNul(info->first, toEnd);
    info->second = NULL;
    info->secondLen = 0;
    if (info->firstLen == toEnd) {
        info->second = heap->data;
        info->secondLen = bytesToNul(heap->data, heap->size - toEnd);
    }
    return TRUE;
}

static void putByte(scpi_error_info_heap_t* heap, char byte) {
    heap->data[heap->wr] = byte;
    heap->wr = (heap->wr + 1) % heap->size;
    heap->count--;
}

void scpiErrorInfoKeep(scpi_t* context, scpi_error_t* error, const char* text, size_t len) {
    scpi_error_info_heap_t* heap = &context->error_info_heap;
    size_t i;

    error->device_dependent_info = NULL;
    if (len == 0 || len + 1 > heap->count) {
        return;
    }
    error->device_dependent_info = heap->data + heap->wr;
    for (i = 0; i < len; i++) {
        putByte(heap, text[i]);
    }
    putByte(heap, '\0');
}

void scpiErrorInfoRelease(scpi_t* context, scpi_error_t* error, scpi_bool_t newest) {
    scpi_error_info_heap_t* heap = &context->error_info_heap;
    scpi_info_t info;

    if (scpiErrorInfo(context, error, &info)) {
        heap->count += info.firstLen + info.secondLen + 1;
        if (newest) {
            heap->wr = (size_t)(error->device_dependent_info - heap->data);
        }
    }
    error->device_dependent_info = NULL;
}

void scpiErrorInfoHandOver(scpi_t* context, scpi_error_t* error) {
    char* text = error->device_dependent_info;
    scpiErrorInfoRelease(context, error, FALSE);
    error->device_dependent_info = text;
}

void scpiErrorInfoFree(scpi_error_t* error) {
    error->device_dependent_info = NULL;
}

#endif
