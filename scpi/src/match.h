/*
 * Headers against patterns.
 */
#ifndef SCPI_MATCH_H
#define SCPI_MATCH_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A header in two pieces: what is put in front of it, which is empty or ends in a colon, and what
 * was received. So a header can be looked up before anything is written into the input buffer.
 */
typedef struct {
    const char* prefix;
    size_t prefixLen;
    const char* text;
    size_t textLen;
} scpi_header_t;

/* A keyword of a header. */
typedef struct {
    const char* ptr;
    size_t len;
} scpi_word_t;

/* A place in a pattern: where a keyword begins, or the end. */
typedef struct {
    const char* at;
    scpi_bool_t opens;   /* a bracket opened right before it: it and its group may be left out */
    scpi_bool_t inGroup; /* it stands in brackets: a header may end before it */
} scpi_place_t;

/* A keyword of a pattern. */
typedef struct {
    scpi_word_t word;     /* its long form, without # */
    size_t shortLen;      /* length of the short form */
    scpi_bool_t numbered; /* a number may follow */
    scpi_place_t next;    /* what follows */
} scpi_node_t;

/* Stands for the position behind a header's last keyword. */
#define SCPI_HEADER_END ((size_t)-1)

scpi_header_t scpiHeader(const char* text, size_t len);

/* Takes the query mark off the header; FALSE if there is none. */
scpi_bool_t scpiHeaderTakeQuery(scpi_header_t* header);

/* Position of the first keyword, behind a leading colon. */
size_t scpiHeaderStart(const scpi_header_t* header);

/* Keyword at *pos, empty behind a stray colon; moves *pos to the next, or to SCPI_HEADER_END. */
scpi_word_t scpiHeaderWord(const scpi_header_t* header, size_t* pos);

/* The pattern asks for a query mark. */
scpi_bool_t scpiPatternIsQuery(const char* pattern);

scpi_place_t scpiPatternStart(const char* pattern);

/* Reads the keyword at a place; FALSE at the end of the pattern. */
scpi_bool_t scpiPatternNode(scpi_place_t place, scpi_node_t* node);

/* Where a pattern goes on if the group that opens at the place is left out. */
scpi_place_t scpiPatternBehindGroup(scpi_place_t place);

/* Everything from the place on stands in brackets: a header may end here. */
scpi_bool_t scpiPatternMayEnd(scpi_place_t place);

scpi_bool_t scpiMatchHeader(const char* pattern, const scpi_header_t* header);

/*
 * The same, and the numbers received for each # of the pattern. One that lies behind the end of
 * the header is left as it was.
 */
scpi_bool_t scpiMatchNumbers(const char* pattern, const scpi_header_t* header, int32_t* numbers,
                             size_t count, int32_t defaultValue);

/* A name of a choice table against a received keyword. */
scpi_bool_t scpiMatchChoice(const char* name, const char* text, size_t len);

#ifdef __cplusplus
}
#endif

#endif
