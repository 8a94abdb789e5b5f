/*
 * How a header finds its row.
 *
 * Every keyword of the table belongs to a class, which the long form, the short form and whatever
 * shares a form with them have in common. A header becomes the sequence of its keywords' classes,
 * and every sequence that a row can be written as, with and without its optional nodes, leads from
 * a hash table to that row. Classes and 16-bit tags may throw unlike headers together, never part
 * like ones; so the rows that a header leads to are few, stand in the table's order, and each is
 * still matched against the header: the first that matches is the one that a search row by row
 * would find.
 *
 * Room is fixed (SCPI_INDEX_SIZE). The index holds the first rows that fit; the rest is searched
 * row by row when the index has no answer.
 */
#include "index.h"

#include "characters.h"
#include "scpi/parser.h"

static const scpi_command_t* searchRows(const scpi_command_t* row, const scpi_header_t* header) {
    for (; row->pattern; row++) {
        if (scpiMatchHeader(row->pattern, header)) {
            return row;
        }
    }
    return NULL;
}

#if SCPI_INDEX_SIZE

#if SCPI_INDEX_SIZE < 8 || SCPI_INDEX_SIZE > 32768 || (SCPI_INDEX_SIZE & (SCPI_INDEX_SIZE - 1))
#error "SCPI_INDEX_SIZE must be 0 or a power of two from 8 to 32768"
#endif

/* Sequences that a single row may add; optional nodes beyond that keep it out of the index. */
#define MAX_SEQUENCES_PER_ROW 256u

#define HASH_START 2166136261u
#define HASH_FACTOR 16777619u

/* An open hash table; a slot with tag 0 is empty. */
typedef struct {
    scpi_index_slot_t* slots;
    uint32_t size;
} slot_table_t;

/* What is being added to an index. */
typedef struct {
    scpi_command_index_t* index;
    uint32_t headersUsed;
    uint32_t wordsUsed;
    uint16_t row;
    uint32_t sequences; /* of the current row */
} filling_t;

static slot_table_t wordTable(scpi_command_index_t* index) {
    slot_table_t table;
    table.slots = index->words;
    table.size = SCPI_INDEX_SIZE / 2;
    return table;
}

static slot_table_t headerTable(scpi_command_index_t* index) {
    slot_table_t table;
    table.slots = index->headers;
    table.size = SCPI_INDEX_SIZE;
    return table;
}

static uint32_t hashStep(uint32_t hash, uint32_t value) {
    return (hash ^ value) * HASH_FACTOR;
}

static uint32_t homeOf(uint32_t hash, uint32_t size) {
    return (hash ^ (hash >> 15)) & (size - 1u);
}

static uint16_t tagOf(uint32_t hash) {
    const uint16_t tag = (uint16_t)(hash >> 16);
    return tag ? tag : 1;
}

/* Where numbers may follow a keyword, digits at the end do not count for any. */
static uint32_t hashWord(scpi_word_t word, scpi_bool_t numbered) {
    uint32_t hash = HASH_START;
    size_t i;
    while (numbered && word.len > 0 && scpiIsDigit(word.ptr[word.len - 1])) {
        word.len--;
    }
    for (i = 0; i < word.len; i++) {
        hash = hashStep(hash, (unsigned char)scpiToUpper(word.ptr[i]));
    }
    return hash;
}

/* Slot that holds the word, or the empty one where it would stand. */
static uint32_t findSlot(slot_table_t table, uint32_t hash) {
    uint32_t at = homeOf(hash, table.size);
    while (table.slots[at].tag && table.slots[at].tag != tagOf(hash)) {
        at = (at + 1u) & (table.size - 1u);
    }
    return at;
}

/* Words of a class form a chain of targets that ends in a slot which is its own target. */
static uint32_t classOf(slot_table_t table, uint32_t at) {
    while (table.slots[at].target != at) {
        at = table.slots[at].target;
    }
    return at;
}

/* Class of a word that is in the table already, or of its own. FALSE if there is no room. */
static scpi_bool_t addWord(filling_t* filling, scpi_word_t word, uint32_t* wordClass) {
    const slot_table_t table = wordTable(filling->index);
    const uint32_t hash = hashWord(word, filling->index->numbered);
    const uint32_t at = findSlot(table, hash);

    if (!table.slots[at].tag) {
        if (filling->wordsUsed + 1u > table.size - table.size / 4u) {
            return FALSE;
        }
        filling->wordsUsed++;
        table.slots[at].tag = tagOf(hash);
        table.slots[at].target = (uint16_t)at;
    }
    *wordClass = classOf(table, at);
    return TRUE;
}

static scpi_bool_t addForms(filling_t* filling, const scpi_node_t* node) {
    scpi_word_t shortForm = node->word;
    uint32_t longClass;
    uint32_t shortClass;

    shortForm.len = node->shortLen ? node->shortLen : node->word.len;
    if (!addWord(filling, node->word, &longClass) || !addWord(filling, shortForm, &shortClass)) {
        return FALSE;
    }
    wordTable(filling->index).slots[shortClass].target = (uint16_t)longClass;
    return TRUE;
}

static scpi_bool_t addWordsOfRow(filling_t* filling, const char* pattern) {
    scpi_place_t place = scpiPatternStart(pattern);
    scpi_node_t node;
    for (; scpiPatternNode(place, &node); place = node.next) {
        if (!addForms(filling, &node)) {
            return FALSE;
        }
    }
    return TRUE;
}

/* Words of all rows that fit; sets the number of rows. */
static void addWords(filling_t* filling, const scpi_command_t* table) {
    scpi_command_index_t* index = filling->index;
    const scpi_command_t* row;

    for (row = table; row->pattern; row++) {
        index->numbered = (uint8_t)(index->numbered || strchr(row->pattern, '#') != NULL);
    }
    for (row = table; row->pattern && index->rows < SCPI_INDEX_SIZE; row++) {
        if (!addWordsOfRow(filling, row->pattern)) {
            return;
        }
        index->rows++;
    }
}

static scpi_bool_t addHeader(filling_t* filling, uint32_t hash) {
    const slot_table_t table = headerTable(filling->index);
    uint32_t at = homeOf(hash, table.size);

    filling->sequences++;
    if (filling->sequences > MAX_SEQUENCES_PER_ROW ||
        filling->headersUsed + 1u > table.size - table.size / 4u) {
        return FALSE;
    }
    /* Behind every earlier one on its way, so that equal ones keep the order of the rows. */
    while (table.slots[at].tag) {
        at = (at + 1u) & (table.size - 1u);
    }
    table.slots[at].tag = tagOf(hash);
    table.slots[at].target = filling->row;
    filling->headersUsed++;
    return TRUE;
}

static uint32_t classOfWord(scpi_command_index_t* index, scpi_word_t word) {
    const slot_table_t table = wordTable(index);
    const uint32_t at = findSlot(table, hashWord(word, index->numbered));
    return table.slots[at].tag ? classOf(table, at) : table.size;
}

/* Every sequence that the pattern can be written as from a place on. */
static scpi_bool_t addSequences(filling_t* filling, scpi_place_t place, uint32_t hash) {
    scpi_node_t node;

    if (!scpiPatternNode(place, &node)) {
        return addHeader(filling, hash);
    }
    if (place.opens && !addSequences(filling, scpiPatternBehindGroup(place), hash)) {
        return FALSE;
    }
    hash = hashStep(hash, classOfWord(filling->index, node.word));
    /* A header may end within a group of several keywords. */
    if (node.next.inGroup && !node.next.opens && scpiPatternMayEnd(node.next) &&
        !addHeader(filling, hash)) {
        return FALSE;
    }
    return addSequences(filling, node.next, hash);
}

static uint32_t hashOfKind(scpi_bool_t query) {
    return hashStep(HASH_START, query ? '?' : '!');
}

static void fillIndex(scpi_command_index_t* index, const scpi_command_t* table) {
    filling_t filling = {NULL, 0, 0, 0, 0};
    uint16_t rows;

    memset(index, 0, sizeof *index);
    index->table = table;
    filling.index = index;
    addWords(&filling, table);
    rows = index->rows;
    for (index->rows = 0; index->rows < rows; index->rows++) {
        const char* pattern = table[index->rows].pattern;
        filling.row = index->rows;
        filling.sequences = 0;
        if (!addSequences(&filling, scpiPatternStart(pattern),
                          hashOfKind(scpiPatternIsQuery(pattern)))) {
            return;
        }
    }
}

/* FALSE if a keyword of the header is in no indexed row. */
static scpi_bool_t hashHeader(scpi_command_index_t* index, scpi_header_t header, uint32_t* hash) {
    size_t pos;

    *hash = hashOfKind(scpiHeaderTakeQuery(&header));
    pos = scpiHeaderStart(&header);
    while (pos != SCPI_HEADER_END) {
        const uint32_t wordClass = classOfWord(index, scpiHeaderWord(&header, &pos));
        if (wordClass == SCPI_INDEX_SIZE / 2) {
            return FALSE;
        }
        *hash = hashStep(*hash, wordClass);
    }
    return TRUE;
}

static const scpi_command_t* searchIndex(scpi_command_index_t* index, const scpi_header_t* header) {
    const slot_table_t table = headerTable(index);
    uint32_t hash;
    uint32_t at;

    if (!hashHeader(index, *header, &hash)) {
        return NULL;
    }
    for (at = homeOf(hash, table.size); table.slots[at].tag; at = (at + 1u) & (table.size - 1u)) {
        const scpi_command_t* row = index->table + table.slots[at].target;
        if (table.slots[at].tag == tagOf(hash) && table.slots[at].target < index->rows &&
            scpiMatchHeader(row->pattern, header)) {
            return row;
        }
    }
    return NULL;
}

const scpi_command_t* scpiFindCommand(scpi_t* context, const scpi_header_t* header) {
    scpi_command_index_t* index = &context->command_index;
    const scpi_command_t* row;

    if (!context->cmdlist) {
        return NULL;
    }
    if (index->table != context->cmdlist) {
        fillIndex(index, context->cmdlist);
    }
    row = searchIndex(index, header);
    return row ? row : searchRows(context->cmdlist + index->rows, header);
}

#else

const scpi_command_t* scpiFindCommand(scpi_t* context, const scpi_header_t* header) {
    return context->cmdlist ? searchRows(context->cmdlist, header) : NULL;
}

#endif
