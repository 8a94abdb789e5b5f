#include "LogSummary.h"

#include <gtest/gtest.h>

namespace {

TEST(LogSummary, ProgressTellsWhatIsLeft) {
    const LogSummary summary{3, 2, 1234, 1, 124'000, 3'600'000};
    EXPECT_EQ("1234 readings, 10.0/s, 1 gap, 2 of 3 meters, 0:57:56 left",
              LogSummary_progress(summary));
}

TEST(LogSummary, WithoutAnEndProgressTellsHowLongItHasLasted) {
    EXPECT_EQ("1 reading, 0.0/s, 0 gaps, 0 of 1 meter, 0:00:00 so far",
              LogSummary_progress({1, 0, 1, 0, 0, 0}));
}

TEST(LogSummary, TheEndNamesTheFile) {
    const LogSummary summary{1, 1, 2, 3, 65'000, 0};
    EXPECT_EQ("2 readings of 1 meter in 0:01:05, 3 gaps, in a.csv",
              LogSummary_end(summary, "a.csv"));
    EXPECT_EQ("2 readings of 1 meter in 0:01:05, 3 gaps", LogSummary_end(summary, "-"));
}

} // namespace
