// Patterns, and the index that finds a header's row.
#include "ExampleInstrument.h"

#include <gtest/gtest.h>

#include <random>

using namespace std::string_view_literals;

namespace {

struct MatchExample {
    std::string_view pattern;
    std::string_view header;
    bool matches;
};

TEST(ScpiMatch, AgreesWithEveryExample) {
    const MatchExample examples[] = {
#include "MatchExamples.inc"
    };
    static_assert(std::size(examples) == 36);
    for (const MatchExample& example : examples) {
        EXPECT_EQ(SCPI_Match(example.pattern.data(), example.header.data(), example.header.size()),
                  example.matches)
            << example.pattern << " and " << example.header;
    }
}

TEST(ScpiMatch, LeavesAGroupOfSeveralKeywordsOutAsAWhole) {
    EXPECT_TRUE(SCPI_Match("A[:B:C]:D", "A:D", 3));
    EXPECT_FALSE(SCPI_Match("A[:B:C]:D", "A:B:D", 5));
}

TEST(ScpiMatch, TriesBothWaysWhereAnOptionalNodeLooksLikeTheNext) {
    EXPECT_TRUE(SCPI_Match("A[:B]:B", "A:B", 3));
    EXPECT_TRUE(SCPI_Match("A[:B]:B", "A:B:B", 5));
    EXPECT_FALSE(SCPI_Match("A[:B]:B", "A:B:B:B", 7));
}

TEST(ScpiMatch, StopsAtANulOrAtTheLength) {
    EXPECT_TRUE(SCPI_Match("ABC", "ABC\0DEF", 7));
    EXPECT_TRUE(SCPI_Match("ABC", "ABCDEF", 3));
    EXPECT_FALSE(SCPI_Match("ABC", "ABCDEF", 6));
    EXPECT_FALSE(SCPI_Match("ABC", "", 0));
    EXPECT_FALSE(SCPI_Match(nullptr, "A", 1));
    EXPECT_FALSE(SCPI_Match("A", nullptr, 1));
}

TEST(ScpiMatch, BoundsAHeadersNumber) {
    ExampleInstrument instrument;
    instrument.input("SOUR99999999999999999999:CHAN2147483647?\n");
    EXPECT_EQ(instrument.output, "1,2147483647,2147483647\r\n");
}

TEST(ScpiMatch, HasNoNumbersBeforeTheFirstCommand) {
    ExampleInstrument instrument;
    int32_t numbers[] = {5};
    EXPECT_FALSE(SCPI_CommandNumbers(instrument.context(), numbers, 1, 1));
    EXPECT_EQ(numbers[0], 5);
}

TEST(ScpiMatch, MatchesWithoutRoomForItsNumbers) {
    static bool matches;
    const scpi_command_t table[] = {{"A#:B#?",
                                     [](scpi_t* c) {
                                         matches = SCPI_CommandNumbers(c, nullptr, 4, 9);
                                         return SCPI_RES_OK;
                                     },
                                     0},
                                    SCPI_CMD_LIST_END};
    ExampleInstrument instrument(17, nullptr, table);
    EXPECT_TRUE(instrument.input("A1:B2?\n"));
    EXPECT_TRUE(matches);
}

TEST(ScpiMatch, GivesTheDefaultToTheNumbersOfAGroupThatIsLeftOut) {
    static int32_t numbers[4];
    const scpi_command_t table[] = {{"A#[:B#:C#]:D#?",
                                     [](scpi_t* c) {
                                         SCPI_CommandNumbers(c, numbers, 4, 9);
                                         return SCPI_RES_OK;
                                     },
                                     0},
                                    SCPI_CMD_LIST_END};
    ExampleInstrument instrument(17, nullptr, table);
    EXPECT_TRUE(instrument.input("A1:D4?\n"));
    EXPECT_EQ(std::vector<int32_t>(numbers, numbers + 4), (std::vector<int32_t>{1, 9, 9, 4}));
    EXPECT_TRUE(instrument.input("A1:B2:C3:D4?\n"));
    EXPECT_EQ(std::vector<int32_t>(numbers, numbers + 4), (std::vector<int32_t>{1, 2, 3, 4}));
}

scpi_result_t writeTag(scpi_t* context) {
    SCPI_ResultInt32(context, SCPI_CmdTag(context));
    return SCPI_RES_OK;
}

// A table whose patterns are kept with it.
struct Table {
    std::vector<std::string> patterns;
    std::vector<scpi_command_t> rows;

    void finish() {
        rows.clear();
        for (const std::string& pattern : patterns) {
            rows.push_back({pattern.c_str(), writeTag, static_cast<int32_t>(rows.size())});
        }
        rows.push_back(SCPI_CMD_LIST_END);
    }

    // Number of the first row that matches, as a search row by row gives it; -1 if none does.
    int firstMatch(const std::string& header) const {
        for (size_t i = 0; i < patterns.size(); i++) {
            if (SCPI_Match(patterns[i].c_str(), header.c_str(), header.size())) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }
};

// Few words with common beginnings, so that many headers match several rows.
std::string randomWord(std::mt19937& random, bool asPattern) {
    static const std::string_view words[] = {"A",      "AB",    "ABc",    "ABcd", "STATe",
                                             "STATe1", "STAT1", "STATe2", "B#",   "ABc#",
                                             "RS232",  "C",     "Delay",  "DELay"};
    std::string word(words[random() % std::size(words)]);
    if (asPattern) {
        return word;
    }
    if (word.back() == '#') {
        word.pop_back();
        word += random() % 2 ? std::to_string(random() % 20) : "";
    }
    if (random() % 2) {
        word.erase(
            std::remove_if(word.begin(), word.end(),
                           [](char c) { return std::islower(static_cast<unsigned char>(c)); }),
            word.end());
    }
    return word;
}

std::string randomPattern(std::mt19937& random) {
    std::string pattern;
    bool inGroup = false;
    const size_t count = 1 + random() % 4;
    for (size_t i = 0; i < count; i++) {
        if (!inGroup && random() % 3 == 0) {
            pattern += "[:";
            inGroup = true;
        } else if (i > 0) {
            pattern += ":";
        }
        pattern += randomWord(random, true);
        if (inGroup && random() % 3 != 0) {
            pattern += "]";
            inGroup = false;
        }
    }
    return pattern + (inGroup ? "]" : "") + (random() % 2 ? "?" : "");
}

std::string randomHeader(std::mt19937& random) {
    std::string header = random() % 4 == 0 ? ":" : "";
    const size_t count = 1 + random() % 4;
    for (size_t i = 0; i < count; i++) {
        header += (i > 0 ? ":" : "") + randomWord(random, false);
    }
    return header + (random() % 2 ? "?" : "");
}

std::string answerOf(const Table& table, ExampleInstrument& instrument, const std::string& header) {
    instrument.output.clear();
    instrument.scpi.cmdlist = table.rows.data();
    instrument.input(header + "\n");
    SCPI_ErrorClear(instrument.context());
    return header.back() == '?' && !instrument.output.empty()
               ? instrument.output.substr(0, instrument.output.size() - 2)
               : instrument.output;
}

TEST(ScpiIndex, FindsTheRowThatASearchRowByRowFinds) {
    std::mt19937 random(7);
    int found = 0;
    for (int round = 0; round < 60; round++) {
        Table table;
        for (int i = 0; i < 40; i++) {
            table.patterns.push_back(randomPattern(random));
        }
        table.finish();
        ExampleInstrument instrument(17, nullptr, table.rows.data());
        for (int i = 0; i < 300; i++) {
            const std::string header = randomHeader(random);
            const int expected = table.firstMatch(header);
            SCOPED_TRACE(header);
            ASSERT_EQ(answerOf(table, instrument, header),
                      expected < 0 ? "" : std::to_string(expected));
            found += expected >= 0 ? 1 : 0;
        }
    }
    EXPECT_GT(found, 1000);
}

TEST(ScpiIndex, SearchesRowByRowWhatDoesNotFit) {
    Table table;
    for (int i = 0; i < 3000; i++) {
        table.patterns.push_back("NODE" + std::to_string(i % 2900) + ":LEVel?");
    }
    table.patterns.emplace_back("LAST?");
    table.finish();
    ExampleInstrument instrument(17, nullptr, table.rows.data());
    for (const int i : {0, 1, 300, 700, 800, 1500, 2899}) {
        EXPECT_EQ(answerOf(table, instrument, "NODE" + std::to_string(i) + ":LEV?"),
                  std::to_string(i));
    }
    EXPECT_EQ(answerOf(table, instrument, "LAST?"), "3000");
    EXPECT_EQ(answerOf(table, instrument, "NODE2900:LEV?"), "");
}

TEST(ScpiIndex, LeavesARowOfTooManyFormsToTheSearch) {
    Table table;
    table.patterns.emplace_back("FIRSt?");
    std::string manyOptional = "MANY";
    for (int i = 0; i < 12; i++) {
        manyOptional += "[:OPT" + std::to_string(i) + "]";
    }
    table.patterns.push_back(manyOptional + "?");
    table.patterns.emplace_back("MANY:OPT3?");
    table.patterns.emplace_back("LAST?");
    table.finish();
    ExampleInstrument instrument(17, nullptr, table.rows.data());
    EXPECT_EQ(answerOf(table, instrument, "FIRS?"), "0");
    EXPECT_EQ(answerOf(table, instrument, "MANY:OPT3?"), "1");
    EXPECT_EQ(answerOf(table, instrument, "MANY:OPT2:OPT11?"), "1");
    EXPECT_EQ(answerOf(table, instrument, "LAST?"), "3");
}

TEST(ScpiIndex, FollowsANewTable) {
    Table first;
    first.patterns = {"A?", "B?"};
    first.finish();
    Table second;
    second.patterns = {"B?", "C?"};
    second.finish();
    ExampleInstrument instrument(17, nullptr, first.rows.data());
    EXPECT_EQ(answerOf(first, instrument, "B?"), "1");
    EXPECT_EQ(answerOf(second, instrument, "B?"), "0");
    EXPECT_EQ(answerOf(second, instrument, "A?"), "");
    EXPECT_EQ(answerOf(first, instrument, "B?"), "1");
}

TEST(ScpiIndex, MovesWithACopyOfTheContext) {
    ExampleInstrument instrument;
    instrument.input("*OPC?\n");
    const auto copy = std::make_unique<scpi_t>(instrument.scpi);
    instrument.output.clear();
    EXPECT_TRUE(SCPI_Input(copy.get(), "SYST:COMM:RS232:BAUD?\n", 22));
    EXPECT_EQ(instrument.output, "8\r\n");
}

} // namespace
