#include "InterfacesFile.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string loopback = "# interfaces(5)\nauto lo\niface lo inet loopback\n\nauto eth0\n";
const std::string alias = "auto eth0:0\niface eth0:0 inet static\n    address 169.254.0.1\n"
                          "    netmask 255.255.0.0\n";
const std::string dhcp = "iface eth0 inet dhcp\n\n";
const std::string fixed = "iface eth0 inet static\n    address 10.0.0.5\n"
                          "    netmask 255.0.0.0\n    gateway 10.0.0.1\n\n";

std::string replaced(const std::string& text, const std::string& stanza) {
    return InterfacesFile_replace(text, "eth0", stanza).value_or("(no stanza)");
}

TEST(InterfacesFile, StanzaTextsAreThoseOfTheSystem) {
    EXPECT_EQ(InterfacesFile_stanza("eth0", false, "10.0.0.5", "255.0.0.0", "10.0.0.1"), dhcp);
    EXPECT_EQ(InterfacesFile_stanza("eth0", true, "10.0.0.5", "255.0.0.0", "10.0.0.1"), fixed);
    EXPECT_EQ(InterfacesFile_stanza("eth0", true, "10.0.0.5", "255.0.0.0", ""),
              "iface eth0 inet static\n    address 10.0.0.5\n    netmask 255.0.0.0\n\n");
}

TEST(InterfacesFile, StanzaIsReplacedBetweenWhatStandsBeforeAndTheAlias) {
    EXPECT_EQ(replaced(loopback + dhcp + alias, fixed), loopback + fixed + alias);
    EXPECT_EQ(replaced(loopback + fixed + alias, dhcp), loopback + dhcp + alias);
    EXPECT_EQ(replaced(loopback + fixed + alias, fixed), loopback + fixed + alias);
}

TEST(InterfacesFile, EverythingOutsideTheStanzaIsKeptByteForByte) {
    struct Case {
        const char* legend;
        std::string head;
        std::string old;
        std::string tail;
    };
    const std::string big(100000, 'x');
    const Case cases[] = {
        {"no alias, another interface", loopback, dhcp, "auto eth1\niface eth1 inet dhcp\n"},
        {"no alias, a hot-plugged one", loopback, dhcp, "allow-hotplug wlan0\n"},
        {"no alias, a source line", loopback, dhcp, "source /etc/network/interfaces.d/*\n"},
        {"no alias, nothing behind", loopback, dhcp, ""},
        {"old stanza without a line end", loopback, "iface eth0 inet dhcp", ""},
        {"another interface before the alias", loopback, fixed,
         "auto eth1\niface eth1 inet dhcp\n\n" + alias},
        {"the same interface's other family", loopback, dhcp, "iface eth0 inet6 auto\n\n" + alias},
        {"other family first", "iface eth0 inet6 auto\n\n", dhcp, alias},
        {"alias first", alias + "\n", dhcp, "auto eth1\n"},
        {"similar names first", "iface eth01 inet dhcp\niface xeth0 inet dhcp\n", dhcp, alias},
        {"commented stanza first", "#iface eth0 inet static\n# iface eth0 inet static\n", dhcp,
         alias},
        {"commented alias behind", loopback, dhcp, "# auto eth0:0\n" + alias},
        {"comment of the alias", loopback, dhcp, "# fixed address, do not change\n" + alias},
        {"tabs and carriage returns", "auto lo\r\n", "iface\teth0  inet dhcp\r\n\r\n",
         "auto eth0:0\r\n"},
        {"options of all kinds", loopback,
         "  iface eth0 inet static\n\taddress 1.2.3.4\n# netmask 0.0.0.0\n\n  up echo iface\n"
         "  hwaddress 1\n \n\n",
         alias},
        {"large file", "# " + big + "\n", dhcp, alias + "# " + big},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(replaced(row.head + row.old + row.tail, fixed), row.head + fixed + row.tail)
            << row.legend;
    }
}

TEST(InterfacesFile, ReplacingTwiceIsTheSameAsReplacingOnce) {
    const std::string once = replaced(loopback + dhcp + "\n\n\n# note\n\n" + alias, fixed);
    EXPECT_EQ(replaced(once, fixed), once);
    EXPECT_EQ(once, loopback + fixed + "# note\n\n" + alias);
}

TEST(InterfacesFile, TextWithoutTheStanzaIsNotReplaced) {
    const std::string texts[] = {
        "",
        "\n",
        alias,
        loopback,
        "#iface eth0 inet dhcp\n",
        "iface eth0 inet6 auto\n",
        "iface eth0\n",
        "iface eth0:0 inet dhcp\n",
        "auto eth0 inet\n",
        "xiface eth0 inet dhcp\n",
        "iface eth0 inet dhcp # off\n",
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(InterfacesFile_replace(text, "eth0", dhcp), std::nullopt) << text;
    }
}

struct ReadCase {
    const char* legend;
    std::string text;
    InterfaceStanza expected;
};

TEST(InterfacesFile, StanzaIsRead) {
    const ReadCase cases[] = {
        {"DHCP", loopback + dhcp + alias, {0, "", "", ""}},
        {"static", loopback + fixed + alias, {1, "10.0.0.5", "255.0.0.0", "10.0.0.1"}},
        {"other order",
         "iface eth0 inet static\n gateway 3\n netmask 2\n address 1\n",
         {1, "1", "2", "3"}},
        {"two lines only",
         "iface eth0 inet static\n address 1\n netmask 2\nauto eth0:0\n",
         {1, "1", "2", ""}},
        {"another key ends it",
         "iface eth0 inet static\n address 1\n up x\n netmask 2\n",
         {1, "1", "", ""}},
        {"an empty line ends it",
         "iface eth0 inet static\n address 1\n\n netmask 2\n",
         {1, "1", "", ""}},
        {"three lines at most",
         "iface eth0 inet static\n address 1\n netmask 2\n address 3\n gateway 4\n",
         {1, "3", "2", ""}},
        {"comment within",
         "iface eth0 inet static\n address 1\n # netmask 9\n netmask 2\n",
         {1, "1", "2", ""}},
        {"commented value",
         "iface eth0 inet static\n address 1 # old\n netmask 2\n",
         {1, "", "2", ""}},
        {"key without a value", "iface eth0 inet static\n address\n netmask 2\n", {1, "", "2", ""}},
        {"other method", "iface eth0 inet manual\n", {-1, "", "", ""}},
        {"commented stanza",
         "#iface eth0 inet dhcp\niface eth0 inet static # dhcp\n",
         {-1, "", "", ""}},
        {"no stanza", alias, {-1, "", "", ""}},
        {"three words", "iface eth0 inet\n", {-1, "", "", ""}},
        {"later one overrides", fixed + dhcp, {0, "", "", ""}},
        {"later one directly behind",
         "iface eth0 inet static\n address 1\niface eth0 inet dhcp\n",
         {0, "", "", ""}},
        {"later static one", dhcp + fixed, {1, "10.0.0.5", "255.0.0.0", "10.0.0.1"}},
        {"other interface's values", fixed + alias, {1, "10.0.0.5", "255.0.0.0", "10.0.0.1"}},
        {"empty", "", {-1, "", "", ""}},
        {"no line end", "iface eth0 inet dhcp", {0, "", "", ""}},
    };
    for (const ReadCase& row : cases) {
        const InterfaceStanza stanza = InterfacesFile_read(row.text, "eth0");
        EXPECT_EQ(stanza.method, row.expected.method) << row.legend;
        EXPECT_EQ(stanza.address, row.expected.address) << row.legend;
        EXPECT_EQ(stanza.netmask, row.expected.netmask) << row.legend;
        EXPECT_EQ(stanza.gateway, row.expected.gateway) << row.legend;
    }
}

} // namespace
