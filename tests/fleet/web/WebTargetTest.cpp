#include "WebTarget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr int64_t now_ms = 1'700'000'000'000; // 2023-11-14T22:13:20Z

TEST(WebTarget, IsTakenToPiecesAndDecoded) {
    const auto target =
        WebTarget_parse("/api/meters/a%2Fb%C3%A4?from=1h&na+me=%3C+%3E&flag&&x=a=b");
    ASSERT_TRUE(target);
    EXPECT_THAT(target->path, ElementsAre("api", "meters", "a/b\u00e4"));
    EXPECT_THAT(target->parameters, ElementsAre(Pair("from", "1h"), Pair("na me", "< >"),
                                                Pair("flag", ""), Pair("x", "a=b")));
    EXPECT_THAT(WebTarget_parse("/")->path, ElementsAre(""));
}

TEST(WebTarget, WhatMakesNoSenseIsNone) {
    for (const char* text : {"", "api", "http://a/", "/%", "/%4", "/%zz", "/%+1", "/%00", "/%C0%80",
                             "/a?b=%0A", "/\x01", "/a?b=\xff"}) {
        EXPECT_FALSE(WebTarget_parse(text)) << text;
    }
    EXPECT_FALSE(WebTarget_parse("/" + std::string(257, 'a')));
    std::string many = "/";
    for (int i = 0; i < 20; ++i) {
        many += "a/";
    }
    EXPECT_FALSE(WebTarget_parse(many));
}

TEST(WebTarget, AsksForReadings) {
    HistoryQuery query;
    std::string error;
    EXPECT_TRUE(WebTarget_readReadings(*WebTarget_parse("/"), now_ms, query, error)) << error;
    EXPECT_EQ(now_ms - 3'600'000, query.from_ms);
    EXPECT_EQ(now_ms, query.to_ms);
    EXPECT_EQ(1, query.channel);
    EXPECT_EQ(0, query.step_ms);
    EXPECT_TRUE(WebTarget_readReadings(
        *WebTarget_parse("/?channel=2&from=2023-11-14T20:00:00Z&to=10min&step=1.5s"), now_ms, query,
        error))
        << error;
    EXPECT_EQ(now_ms - 8'000'000, query.from_ms);
    EXPECT_EQ(now_ms - 600'000, query.to_ms);
    EXPECT_EQ(2, query.channel);
    EXPECT_EQ(1500, query.step_ms);
}

TEST(WebTarget, TellsWhatIsWrongWithAQuestion) {
    const std::pair<const char*, const char*> wrong[] = {
        {"/?channel=3", "channel must be a whole number from 1 to 2"},
        {"/?channel=1x", "channel must be a whole number from 1 to 2"},
        {"/?step=5", "step must be a time such as 10s, 1min or 1h"},
        {"/?from=yesterday",
         "from must be a time such as 2026-11-21T23:51:08Z, or how long ago, such as 1h"},
        {"/?from=1h&to=2h", "from must be before to"},
        {"/?limit=5", "limit is no parameter here"},
    };
    for (const auto& [text, complaint] : wrong) {
        HistoryQuery query;
        std::string error;
        EXPECT_FALSE(WebTarget_readReadings(*WebTarget_parse(text), now_ms, query, error)) << text;
        EXPECT_EQ(complaint, error);
    }
    HistoryQuery query;
    std::string error;
    EXPECT_FALSE(WebTarget_readEvents(*WebTarget_parse("/?limit=1001"), now_ms, query, error));
    EXPECT_EQ("limit must be a whole number from 1 to 1000", error);
}

} // namespace
