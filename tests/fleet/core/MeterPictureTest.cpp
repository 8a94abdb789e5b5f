#include "MeterPicture.h"

#include <gtest/gtest.h>

namespace {

const std::string marker = "MAKER,8830K,20260001,3.0.1\r\n";

/// What comes of an answer that arrives byte by byte: the last step and how many bytes it took.
MeterPictureStep take(const std::string& answer, std::string& png, size_t& taken) {
    MeterPicture picture;
    MeterPictureStep step = MeterPictureStep::waits;
    for (taken = 0; taken < answer.size() && step == MeterPictureStep::waits; ++taken) {
        step = MeterPicture_receive(picture, std::string_view(answer).substr(taken, 1), png);
    }
    return step;
}

TEST(MeterPicture, IsTakenFromItsBlockWhateverItHolds) {
    const std::string bytes("\x89PNG\r\n\n\0;#1", 11);
    const std::string answer = "1;#211" + bytes + "\r\n" + marker;
    std::string png;
    size_t taken = 0;
    EXPECT_EQ(MeterPictureStep::done, take(answer, png, taken));
    EXPECT_EQ(bytes, png);
    EXPECT_EQ(answer.size(), taken);
}

TEST(MeterPicture, AMeterWithoutAScreenHasNone) {
    for (const char* answer : {"1\r\n", "1;\r\n", "1;\n"}) {
        std::string png;
        size_t taken = 0;
        EXPECT_EQ(MeterPictureStep::none, take(answer + marker, png, taken)) << answer;
        EXPECT_EQ("", png);
    }
}

TEST(MeterPicture, WhatIsNoAnswerIsTakenForNone) {
    const std::string endless = "1\r\n" + std::string(2000, 'x');
    for (const std::string& answer :
         {std::string("2"), std::string("1;x"), std::string("1;#0"), std::string("1;#x"),
          std::string("1;#9999999999"), std::string("1;#1z"), endless,
          "1;#10" + std::string(2000, 'x')}) {
        std::string png;
        size_t taken = 0;
        EXPECT_EQ(MeterPictureStep::broken, take(answer, png, taken)) << answer.substr(0, 20);
    }
}

} // namespace
