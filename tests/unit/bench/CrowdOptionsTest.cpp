#include "CrowdOptions.h"

#include <gtest/gtest.h>

namespace {

struct CrowdOptionsTest : testing::Test {
    CrowdOptions options;
    std::string error;

    bool parse(const std::vector<std::string>& words) {
        return CrowdOptions_parse(words, options, error);
    }
};

TEST_F(CrowdOptionsTest, ACrowdIsANumberOfMeters) {
    ASSERT_TRUE(parse({"1000"})) << error;
    EXPECT_EQ(1000U, options.count);
    EXPECT_EQ("127.8.0.1", CrowdOptions_address(options.base));
    EXPECT_EQ(5025, options.port);
    EXPECT_EQ(CrowdFault::none, CrowdOptions_fault(options, 1));
}

TEST_F(CrowdOptionsTest, ReadsAllOptions) {
    ASSERT_TRUE(parse({"9", "--base", "127.77.3.250", "--port", "6000", "--channels", "2",
                       "--sensor", "5133", "--period", "4s", "--fault", "slow", "--fault",
                       "vanish:3", "--fault", "restart:5-6", "--fault", "nan:8"}))
        << error;
    EXPECT_EQ("127.77.3.255", CrowdOptions_address(options.base + 5));
    EXPECT_EQ(6000, options.port);
    EXPECT_EQ(2U, options.channels);
    EXPECT_EQ("5133", options.sensor);
    EXPECT_EQ(4, options.period_s);
    EXPECT_EQ(CrowdFault::slow, CrowdOptions_fault(options, 2));
    EXPECT_EQ(CrowdFault::vanish, CrowdOptions_fault(options, 3));
    EXPECT_EQ(CrowdFault::restart, CrowdOptions_fault(options, 6));
    EXPECT_EQ(CrowdFault::slow, CrowdOptions_fault(options, 7));
    EXPECT_EQ(CrowdFault::nan, CrowdOptions_fault(options, 8));
}

TEST_F(CrowdOptionsTest, WhatCannotBeIsRefused) {
    const std::vector<std::vector<std::string>> wrong{
        {},
        {"0"},
        {"-1"},
        {"1.5"},
        {"20001"},
        {"x"},
        {"1", "--base"},
        {"1", "--base", "10.0.0.1"},
        {"1", "--base", "127.1"},
        {"1", "--port", "0"},
        {"1", "--port", "70000"},
        {"1", "--channels", "3"},
        {"1", "--fault", "loud"},
        {"1", "--fault", "slow:0"},
        {"1", "--fault", "slow:5-4"},
        {"1", "--fault", "slow:1-2-3"},
        {"1", "--fault", "slow:1:2"},
        {"1", "--period", "0"},
        {"1", "--bogus", "1"},
    };
    for (const std::vector<std::string>& words : wrong) {
        error.clear();
        EXPECT_FALSE(parse(words)) << testing::PrintToString(words);
        EXPECT_NE("", error);
    }
}

} // namespace
