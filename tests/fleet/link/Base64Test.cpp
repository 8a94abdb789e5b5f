#include "Base64.h"

#include <gtest/gtest.h>

namespace {

TEST(Base64, EncodesTheExamplesOfRfc4648) {
    EXPECT_EQ(Base64_encode(""), "");
    EXPECT_EQ(Base64_encode("f"), "Zg==");
    EXPECT_EQ(Base64_encode("fo"), "Zm8=");
    EXPECT_EQ(Base64_encode("foo"), "Zm9v");
    EXPECT_EQ(Base64_encode("foob"), "Zm9vYg==");
    EXPECT_EQ(Base64_encode("fooba"), "Zm9vYmE=");
    EXPECT_EQ(Base64_encode("foobar"), "Zm9vYmFy");
}

TEST(Base64, EncodesBytesThatAreNoAscii) {
    EXPECT_EQ(Base64_encode("fleet:\xc3\xa4\xff"), "ZmxlZXQ6w6T/");
}

} // namespace
