#include "match.h"

#include "characters.h"
#include "scpi/parser.h"

/* Where the numbers of a header go. */
typedef struct {
    int32_t* numbers;
    size_t count;
    int32_t defaultValue;
} number_sink_t;

/* A header that is being matched. */
typedef struct {
    scpi_header_t header; /* without the query mark */
    scpi_bool_t query;
    const number_sink_t* sink; /* NULL if nobody asks for numbers */
} match_t;

scpi_header_t scpiHeader(const char* text, size_t len) {
    scpi_header_t header = {NULL, 0, NULL, 0};
    header.text = text;
    header.textLen = len;
    return header;
}

static size_t headerLength(const scpi_header_t* header) {
    return header->prefixLen + header->textLen;
}

/* Byte of a header, NUL behind its end. */
static char headerAt(const scpi_header_t* header, size_t pos) {
    if (pos < header->prefixLen) {
        return header->prefix[pos];
    }
    if (pos < headerLength(header)) {
        return header->text[pos - header->prefixLen];
    }
    return '\0';
}

scpi_bool_t scpiHeaderTakeQuery(scpi_header_t* header) {
    if (header->textLen == 0 || header->text[header->textLen - 1] != '?') {
        return FALSE;
    }
    header->textLen--;
    return TRUE;
}

size_t scpiHeaderStart(const scpi_header_t* header) {
    return headerAt(header, 0) == ':' ? 1 : 0;
}

scpi_word_t scpiHeaderWord(const scpi_header_t* header, size_t* pos) {
    /* The prefix ends in a colon, so that no keyword lies across the two pieces. */
    const scpi_bool_t inPrefix = *pos < header->prefixLen;
    const size_t from = inPrefix ? *pos : *pos - header->prefixLen;
    const size_t end = inPrefix ? header->prefixLen : header->textLen;
    const char* piece = inPrefix ? header->prefix : header->text;
    scpi_word_t word;

    word.ptr = piece + from;
    word.len = 0;
    while (from + word.len < end && word.ptr[word.len] != ':') {
        word.len++;
    }
    *pos = from + word.len < end ? *pos + word.len + 1 : SCPI_HEADER_END;
    return word;
}

scpi_bool_t scpiPatternIsQuery(const char* pattern) {
    const size_t length = strlen(pattern);
    return length > 0 && pattern[length - 1] == '?';
}

/* Goes over brackets and colons to the next keyword. */
static scpi_place_t patternPlace(const char* at, scpi_bool_t inGroup) {
    scpi_place_t place;

    place.opens = FALSE;
    place.inGroup = inGroup;
    for (; *at == '[' || *at == ']' || *at == ':'; at++) {
        if (*at != ':') {
            place.opens = place.inGroup = (*at == '[');
        }
    }
    place.at = at;
    return place;
}

scpi_place_t scpiPatternStart(const char* pattern) {
    return patternPlace(pattern, FALSE);
}

static scpi_bool_t endsPatternWord(const char* at) {
    switch (*at) {
    case '\0':
    case ':':
    case '[':
    case ']':
        return TRUE;
    case '?':
        return at[1] == '\0';
    default:
        return FALSE;
    }
}

/* Splits a keyword into its forms. */
static void readForms(const char* from, size_t len, scpi_node_t* node) {
    node->numbered = len > 0 && from[len - 1] == '#';
    node->word.ptr = from;
    node->word.len = node->numbered ? len - 1 : len;
    node->shortLen = 0;
    while (node->shortLen < node->word.len && !scpiIsLower(node->word.ptr[node->shortLen])) {
        node->shortLen++;
    }
}

scpi_bool_t scpiPatternNode(scpi_place_t place, scpi_node_t* node) {
    size_t len = 0;
    while (!endsPatternWord(place.at + len)) {
        len++;
    }
    if (len == 0) {
        return FALSE;
    }
    readForms(place.at, len, node);
    node->next = patternPlace(place.at + len, place.inGroup);
    return TRUE;
}

scpi_place_t scpiPatternBehindGroup(scpi_place_t place) {
    const char* at = place.at;
    while (*at != '\0' && *at != ']') {
        at++;
    }
    return patternPlace(at, FALSE);
}

/* End of the pattern, or its query mark, if all from the place on may be left out; else NULL. */
static const char* endBehindOptional(scpi_place_t place) {
    scpi_node_t node;
    for (; scpiPatternNode(place, &node); place = node.next) {
        if (!place.inGroup) {
            return NULL;
        }
    }
    return place.at;
}

scpi_bool_t scpiPatternMayEnd(scpi_place_t place) {
    return endBehindOptional(place) != NULL;
}

/* Number of characters in which the words agree from their beginnings on, ignoring case. */
static size_t commonLength(scpi_word_t first, scpi_word_t second) {
    const size_t limit = first.len < second.len ? first.len : second.len;
    size_t len = 0;
    while (len < limit && scpiToUpper(first.ptr[len]) == scpiToUpper(second.ptr[len])) {
        len++;
    }
    return len;
}

static scpi_bool_t allDigits(scpi_word_t word) {
    size_t i;
    for (i = 0; i < word.len; i++) {
        if (!scpiIsDigit(word.ptr[i])) {
            return FALSE;
        }
    }
    return TRUE;
}

/*
 * The word is a form of the keyword, with a number if it may have one. Where it holds all of the
 * long form the short one needs no look: a letter would follow it.
 */
static scpi_bool_t nodeMatches(const scpi_node_t* node, scpi_word_t word, scpi_word_t* digits) {
    const size_t common = commonLength(node->word, word);
    const size_t form = common == node->word.len ? node->word.len : node->shortLen;

    if (form == 0 || common < form) {
        return FALSE;
    }
    digits->ptr = word.ptr + form;
    digits->len = word.len - form;
    return digits->len == 0 || (node->numbered && allDigits(*digits));
}

/* A number too large for 32 bits becomes the largest one. */
static int32_t numberOf(scpi_word_t digits, int32_t defaultValue) {
    int64_t value = 0;
    size_t i;
    if (digits.len == 0) {
        return defaultValue;
    }
    for (i = 0; i < digits.len && value <= INT32_MAX; i++) {
        value = value * 10 + (digits.ptr[i] - '0');
    }
    return value > INT32_MAX ? INT32_MAX : (int32_t)value;
}

static void storeNumber(const number_sink_t* sink, size_t index, int32_t value) {
    if (sink && index < sink->count) {
        sink->numbers[index] = value;
    }
}

/* Number of # between a place and the end of the group that was left out. */
static size_t countSkipped(scpi_place_t place, const char* end) {
    size_t count = 0;
    scpi_node_t node;
    for (; place.at < end && scpiPatternNode(place, &node); place = node.next) {
        count += node.numbered ? 1 : 0;
    }
    return count;
}

static scpi_bool_t endMatches(const match_t* match, scpi_place_t place) {
    const char* end = endBehindOptional(place);
    return end && match->query == (*end == '?');
}

static scpi_bool_t matchFrom(const match_t* match, scpi_place_t place, size_t pos, size_t index);

static scpi_bool_t matchWithout(const match_t* match, scpi_place_t place, size_t pos,
                                size_t index) {
    const scpi_place_t behind = scpiPatternBehindGroup(place);
    const size_t skipped = match->sink ? countSkipped(place, behind.at) : 0;
    size_t i;

    if (!matchFrom(match, behind, pos, index + skipped)) {
        return FALSE;
    }
    for (i = 0; i < skipped; i++) {
        storeNumber(match->sink, index + i, match->sink->defaultValue);
    }
    return TRUE;
}

/*
 * The header from pos on against the pattern from a place on. Numbers are stored on the way back,
 * so that only the way that matched leaves any.
 */
static scpi_bool_t matchFrom(const match_t* match, scpi_place_t place, size_t pos, size_t index) {
    scpi_node_t node;
    scpi_word_t word;
    scpi_word_t digits;
    size_t next = pos;

    if (pos == SCPI_HEADER_END) {
        return endMatches(match, place);
    }
    /* Most optional nodes are left out, which the first letter tells. */
    if (place.opens && scpiToUpper(*place.at) != scpiToUpper(headerAt(&match->header, pos))) {
        return matchWithout(match, place, pos, index);
    }
    if (!scpiPatternNode(place, &node)) {
        return FALSE;
    }
    word = scpiHeaderWord(&match->header, &next);
    if (nodeMatches(&node, word, &digits) &&
        matchFrom(match, node.next, next, index + (node.numbered ? 1 : 0))) {
        if (match->sink && node.numbered) {
            storeNumber(match->sink, index, numberOf(digits, match->sink->defaultValue));
        }
        return TRUE;
    }
    return place.opens && matchWithout(match, place, pos, index);
}

static scpi_bool_t matchWhole(const char* pattern, const scpi_header_t* header,
                              const number_sink_t* sink) {
    match_t match;

    match.header = *header;
    match.query = scpiHeaderTakeQuery(&match.header);
    match.sink = sink;
    if (headerLength(&match.header) == 0 ||
        (headerAt(&match.header, 0) == ':' && headerAt(&match.header, 1) == '*')) {
        return FALSE;
    }
    return matchFrom(&match, scpiPatternStart(pattern), scpiHeaderStart(&match.header), 0);
}

scpi_bool_t scpiMatchHeader(const char* pattern, const scpi_header_t* header) {
    return matchWhole(pattern, header, NULL);
}

scpi_bool_t scpiMatchNumbers(const char* pattern, const scpi_header_t* header, int32_t* numbers,
                             size_t count, int32_t defaultValue) {
    number_sink_t sink;
    sink.numbers = numbers;
    sink.count = numbers ? count : 0;
    sink.defaultValue = defaultValue;
    return matchWhole(pattern, header, &sink);
}

scpi_bool_t scpiMatchChoice(const char* name, const char* text, size_t len) {
    scpi_node_t node;
    scpi_word_t word;
    scpi_word_t digits;

    readForms(name, strlen(name), &node);
    word.ptr = text;
    word.len = len;
    return nodeMatches(&node, word, &digits);
}

static size_t boundedLength(const char* text, size_t len) {
    const char* end = (const char*)memchr(text, '\0', len);
    return end ? (size_t)(end - text) : len;
}

scpi_bool_t SCPI_Match(const char* pattern, const char* value, size_t len) {
    scpi_header_t header;
    if (!pattern || !value) {
        return FALSE;
    }
    header = scpiHeader(value, boundedLength(value, len));
    return scpiMatchHeader(pattern, &header);
}

scpi_bool_t SCPI_IsCmd(scpi_t* context, const char* cmd) {
    if (!context || !cmd || !context->param_list.cmd) {
        return FALSE;
    }
    return SCPI_Match(context->param_list.cmd->pattern, cmd, strlen(cmd));
}

scpi_bool_t SCPI_CommandNumbers(scpi_t* context, int32_t* numbers, size_t len,
                                int32_t default_value) {
    scpi_header_t header;
    if (!context || !context->param_list.cmd) {
        return FALSE;
    }
    header = scpiHeader(context->param_list.cmd_raw.data, context->param_list.cmd_raw.length);
    return scpiMatchNumbers(context->param_list.cmd->pattern, &header, numbers, len, default_value);
}

#if USE_COMMAND_TAGS
int32_t SCPI_CmdTag(scpi_t* context) {
    return (context && context->param_list.cmd) ? context->param_list.cmd->tag : 0;
}
#endif
