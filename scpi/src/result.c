/*
 * Writers of a command's results.
 */
#include "errorinfo.h"
#include "output.h"
#include "scpi/constants.h"
#include "scpi/error.h"
#include "scpi/parser.h"
#include "scpi/utils.h"

/* Room for a prefix, a sign and the 64 digits of base 2. */
#define NUMBER_SIZE 72

size_t scpiWrite(scpi_t* context, const char* data, size_t len) {
    return (len > 0 && data) ? context->interface->write(context, data, len) : 0;
}

size_t scpiWriteText(scpi_t* context, const char* text) {
    return scpiWrite(context, text, strlen(text));
}

static size_t writeSeparator(scpi_t* context) {
    return context->output_count > 0 ? scpiWriteText(context, ",") : 0;
}

size_t SCPI_ResultCharacters(scpi_t* context, const char* data, size_t len) {
    size_t written = writeSeparator(context);
    written += scpiWrite(context, data, len);
    context->output_count++;
    return written;
}

static size_t numberPrefix(int8_t base, char* text) {
    text[0] = '#';
    switch (base) {
    case 2:
        text[1] = 'B';
        return 2;
    case 8:
        text[1] = 'Q';
        return 2;
    case 16:
        text[1] = 'H';
        return 2;
    default:
        return 0;
    }
}

size_t SCPI_ResultUInt32Base(scpi_t* context, uint32_t val, int8_t base) {
    return SCPI_ResultUInt64Base(context, val, base);
}

size_t SCPI_ResultInt32(scpi_t* context, int32_t val) {
    return SCPI_ResultInt64(context, val);
}

size_t SCPI_ResultUInt64Base(scpi_t* context, uint64_t val, int8_t base) {
    char text[NUMBER_SIZE];
    size_t len = numberPrefix(base, text);
    len += SCPI_UInt64ToStrBase(val, text + len, sizeof text - len, base);
    return SCPI_ResultCharacters(context, text, len);
}

size_t SCPI_ResultInt64(scpi_t* context, int64_t val) {
    char text[NUMBER_SIZE];
    return SCPI_ResultCharacters(context, text, SCPI_Int64ToStr(val, text, sizeof text));
}

size_t SCPI_ResultFloat(scpi_t* context, float val) {
    char text[NUMBER_SIZE];
    return SCPI_ResultCharacters(context, text, SCPI_FloatToStr(val, text, sizeof text));
}

size_t SCPI_ResultDouble(scpi_t* context, double val) {
    char text[NUMBER_SIZE];
    return SCPI_ResultCharacters(context, text, SCPI_DoubleToStr(val, text, sizeof text));
}

size_t SCPI_ResultBool(scpi_t* context, scpi_bool_t val) {
    return SCPI_ResultCharacters(context, val ? "1" : "0", 1);
}

/*
 * A stretch of quoted text with its quotes doubled, as much of it as fits into *room characters.
 * A quote that does not fit twice ends the text: *room becomes 0.
 */
static size_t writeDoubled(scpi_t* context, const char* text, size_t len, size_t* room) {
    size_t written = 0;

    while (len > 0 && *room > 0) {
        const char* quote = (const char*)memchr(text, '"', len);
        const size_t plain = quote ? (size_t)(quote - text) : len;
        if (!quote || *room < plain + 2) {
            const size_t part = plain < *room ? plain : *room;
            written += scpiWrite(context, text, part);
            *room = quote ? 0 : *room - part;
            break;
        }
        written += scpiWrite(context, text, plain + 1);
        written += scpiWriteText(context, "\"");
        *room -= plain + 2;
        text += plain + 1;
        len -= plain + 1;
    }
    return written;
}

size_t SCPI_ResultText(scpi_t* context, const char* data) {
    size_t room = (size_t)-1;
    size_t written = writeSeparator(context);

    written += scpiWriteText(context, "\"");
    written += writeDoubled(context, data, strlen(data), &room);
    written += scpiWriteText(context, "\"");
    context->output_count++;
    return written;
}

/* ;text, if the error carries one. */
static size_t writeErrorInfo(scpi_t* context, const scpi_error_t* error, size_t* room) {
    scpi_info_t info;
    size_t written = 0;

    if (!scpiErrorInfo(context, error, &info)) {
        return 0;
    }
    written += writeDoubled(context, ";", 1, room);
    written += writeDoubled(context, info.first, info.firstLen, room);
    written += writeDoubled(context, info.second, info.secondLen, room);
    return written;
}

size_t SCPI_ResultError(scpi_t* context, scpi_error_t* error) {
    const char* text = SCPI_ErrorTranslate(error->error_code);
    size_t room = SCPI_STD_ERROR_DESC_MAX_STRING_LENGTH;
    size_t written = SCPI_ResultInt32(context, error->error_code);

    written += scpiWriteText(context, ",");
    written += scpiWriteText(context, "\"");
    written += writeDoubled(context, text, strlen(text), &room);
    written += writeErrorInfo(context, error, &room);
    written += scpiWriteText(context, "\"");
    return written;
}

size_t SCPI_ResultArbitraryBlockHeader(scpi_t* context, size_t len) {
    char text[NUMBER_SIZE];
    size_t digits = SCPI_UInt64ToStrBase(len, text + 2, sizeof text - 2, 10);
    size_t written = writeSeparator(context);

    text[0] = '#';
    text[1] = (char)('0' + (digits % 10));
    written += scpiWrite(context, text, digits + 2);
    context->arbitrary_remaining = len;
    return written;
}

size_t SCPI_ResultArbitraryBlockData(scpi_t* context, const void* data, size_t len) {
    if (len > context->arbitrary_remaining) {
        SCPI_ErrorPush(context, SCPI_ERROR_SYSTEM_ERROR);
        return 0;
    }
    context->arbitrary_remaining -= len;
    if (context->arbitrary_remaining == 0) {
        context->output_count++;
    }
    return scpiWrite(context, (const char*)data, len);
}

size_t SCPI_ResultArbitraryBlock(scpi_t* context, const void* data, size_t len) {
    size_t written = SCPI_ResultArbitraryBlockHeader(context, len);
    written += SCPI_ResultArbitraryBlockData(context, data, len);
    return written;
}

static scpi_bool_t cpuIsBigEndian(void) {
    const uint16_t probe = 1;
    return *(const unsigned char*)&probe == 0;
}

static size_t writeSwapped(scpi_t* context, const char* element, size_t size) {
    char swapped[sizeof(uint64_t)];
    size_t i;
    for (i = 0; i < size; i++) {
        swapped[i] = element[size - 1 - i];
    }
    return SCPI_ResultArbitraryBlockData(context, swapped, size);
}

/* Elements of `size` bytes as one block in the byte order of the format. */
static size_t writeArrayBlock(scpi_t* context, const void* array, size_t count, size_t size,
                              scpi_array_format_t format) {
    const scpi_bool_t bigEndian = format == SCPI_FORMAT_BIGENDIAN;
    const char* elements = (const char*)array;
    size_t written;
    size_t i;

    if (count == 0 || size == 1 || bigEndian == cpuIsBigEndian()) {
        return SCPI_ResultArbitraryBlock(context, array, count * size);
    }
    written = SCPI_ResultArbitraryBlockHeader(context, count * size);
    for (i = 0; i < count; i++) {
        written += writeSwapped(context, elements + i * size, size);
    }
    return written;
}

#define DEFINE_ARRAY_WRITER(name, type, writeValue)                                                \
    size_t name(scpi_t* context, const type* array, size_t count, scpi_array_format_t format) {    \
        size_t written = 0;                                                                        \
        size_t i;                                                                                  \
        if (format != SCPI_FORMAT_ASCII) {                                                         \
            return writeArrayBlock(context, array, count, sizeof *array, format);                  \
        }                                                                                          \
        for (i = 0; i < count; i++) {                                                              \
            written += writeValue(context, array[i]);                                              \
        }                                                                                          \
        return written;                                                                            \
    }

DEFINE_ARRAY_WRITER(SCPI_ResultArrayInt8, int8_t, SCPI_ResultInt8)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayUInt8, uint8_t, SCPI_ResultUInt8)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayInt16, int16_t, SCPI_ResultInt16)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayUInt16, uint16_t, SCPI_ResultUInt16)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayInt32, int32_t, SCPI_ResultInt32)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayUInt32, uint32_t, SCPI_ResultUInt32)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayInt64, int64_t, SCPI_ResultInt64)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayUInt64, uint64_t, SCPI_ResultUInt64)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayFloat, float, SCPI_ResultFloat)
DEFINE_ARRAY_WRITER(SCPI_ResultArrayDouble, double, SCPI_ResultDouble)
