#include "EthernetUtilities.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    const char* text;
    bool isValid;
};

TEST(AddressTexts, NumberHasDigitsOnly) {
    constexpr Case cases[] = {
        {"", true},    {"0", true},    {"0123456789", true}, {"12a", false},  {" 1", false},
        {"-1", false}, {"1.2", false}, {"1\n", false},       {"\xb2", false},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(validate_number(row.text), row.isValid) << row.text;
    }
    EXPECT_FALSE(validate_number(nullptr));
}

TEST(AddressTexts, AddressIsFourNumbersUpTo255) {
    constexpr Case cases[] = {
        {"192.168.1.1", true},
        {"0.0.0.0", true},
        {"255.255.255.255", true},
        {"001.02.3.004", true},
        {"192.168.1", false},
        {"192.168.1.256", false},
        {"256.1.1.1", false},
        {"1.2.3.4.5", false},
        {"1.2.3.4.", false},
        {".1.2.3.4", false},
        {"1..2.3", false},
        {"1..2.3.4", false},
        {"1.2.3.", false},
        {"1.2.3.4 ", false},
        {" 1.2.3.4", false},
        {"1.2.3.-4", false},
        {"1.2.3.x", false},
        {"1.2.3.4294967297", false},
        {"1.2.3.99999999999999999999", false},
        {"1", false},
        {"...", false},
        {"", false},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(validate_ip(row.text), row.isValid) << row.text;
    }
    EXPECT_FALSE(validate_ip(nullptr));
}

TEST(AddressTexts, NetmaskHasItsOnesTogetherAtTheTop) {
    constexpr Case cases[] = {
        {"255.255.255.0", true},   {"255.255.255.255", true},
        {"255.255.255.254", true}, {"255.255.252.0", true},
        {"128.0.0.0", true},       {"255.255.0.255", false},
        {"0.0.0.0", false},        {"0.255.255.255", false},
        {"255.255.255.1", false},  {"1.0.0.0", false},
        {"255.255.255", false},    {"255.255.255.256", false},
        {"255.255.-1.0", false},   {"255.255.99999999999.0", false},
        {"mask", false},           {"", false},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(validate_netmask(row.text), row.isValid) << row.text;
    }
    EXPECT_FALSE(validate_netmask(nullptr));
}

} // namespace
