#include "FleetConfig.h"

#include <gtest/gtest.h>

namespace {

struct FleetConfigTest : testing::Test {
    FleetConfig config;
    std::string error;

    bool parse(const std::string& text) {
        return FleetConfig_parse(text, "fleet.toml", config, error);
    }
};

TEST_F(FleetConfigTest, AnEmptyFileGivesTheDefaults) {
    ASSERT_TRUE(parse("")) << error;
    EXPECT_EQ("fleet.sqlite", config.database);
    EXPECT_EQ("127.0.0.1:8830", config.listen);
    EXPECT_EQ(1000, config.every_ms);
    EXPECT_EQ(0, config.poll_ms);
    EXPECT_FALSE(config.holds);
    EXPECT_FALSE(config.discovers);
    EXPECT_EQ(30LL * 86'400'000, config.keepRaw_ms);
    EXPECT_EQ(1, config.shareCount);
    EXPECT_FALSE(config.exported.url);
    EXPECT_TRUE(config.meters.empty());
}

TEST_F(FleetConfigTest, ReadsEveryKey) {
    ASSERT_TRUE(parse(R"(
database = "/var/lib/quorvel-fleet/fleet.sqlite"
listen = "0.0.0.0:8831"
token = "secret"
every = "10s"
poll = "100ms"
hold = true
share = "2/5"
discover = true
keep_raw = "7d"
keep_minutes = "10y"

[export]
url = "http://127.0.0.1:8428/write"
batch = 100

[[meter]]
address = "10.0.0.5"
name = "Größe \"A\""
place = "hall <1>"
every = "30s"
[[meter.channel]]
channel = 1
offset_dB = 40
forward_low_W = 1
forward_high_W = 99.5
vswr_high = 1.8
limit_hold = "5s"
[[meter.channel]]
channel = 2
offset_dB = -0.5

[[meter]]
address = "[fe80::1%eth0]:5026"
)")) << error;
    EXPECT_EQ("/var/lib/quorvel-fleet/fleet.sqlite", config.database);
    EXPECT_EQ("0.0.0.0:8831", config.listen);
    EXPECT_EQ("secret", config.token);
    EXPECT_EQ(10'000, config.every_ms);
    EXPECT_EQ(100, config.poll_ms);
    EXPECT_TRUE(config.holds);
    EXPECT_EQ(2, config.share);
    EXPECT_EQ(5, config.shareCount);
    EXPECT_TRUE(config.discovers);
    EXPECT_EQ(7LL * 86'400'000, config.keepRaw_ms);
    EXPECT_EQ(10 * 365LL * 86'400'000, config.keepMinutes_ms);
    ASSERT_TRUE(config.exported.url);
    EXPECT_EQ((MeterAddress{"127.0.0.1", 8428}), config.exported.url->address);
    EXPECT_EQ("/write", config.exported.url->target);
    EXPECT_EQ(100, config.exported.batch);
    ASSERT_EQ(2U, config.meters.size());
    const MeterConfig& meter = config.meters[0];
    EXPECT_EQ((MeterAddress{"10.0.0.5", 5025}), meter.address);
    EXPECT_EQ("Größe \"A\"", meter.name);
    EXPECT_EQ("hall <1>", meter.place);
    EXPECT_EQ(30'000, meter.every_ms);
    ASSERT_EQ(2U, meter.channels.size());
    EXPECT_EQ(40, meter.channels[0].offset_dB);
    EXPECT_EQ(1, meter.channels[0].limits.forwardLow_W);
    EXPECT_EQ(99.5, meter.channels[0].limits.forwardHigh_W);
    EXPECT_EQ(1.8, meter.channels[0].limits.vswrHigh);
    EXPECT_EQ(5000, meter.channels[0].limits.hold_ms);
    EXPECT_EQ(-0.5, meter.channels[1].offset_dB);
    EXPECT_FALSE(meter.channels[1].limits.vswrHigh);
    EXPECT_EQ((MeterAddress{"fe80::1%eth0", 5026}), config.meters[1].address);
}

struct WrongConfig {
    const char* text;
    const char* error;
};
constexpr const char* wrongListen = "fleet.toml:1: listen must be \"ADDRESS:PORT\" with a numeric "
                                    "address, an IPv6 one in brackets, or \"\"";
constexpr WrongConfig wrongConfigs[] = {
    {"\nevrey = \"1s\"", "fleet.toml:2: unknown key 'evrey'"},
    {"every = 5",
     "fleet.toml:1: every must be a time such as \"100ms\", \"10s\", \"5min\", \"1h\", "
     "\"30d\" or \"5y\""},
    {"every = \"1ms\"", "fleet.toml:1: every must be 10ms at least"},
    {"every = \"1s\"\n\npoll = \"2s\"", "fleet.toml:3: poll must not be longer than every"},
    {"keep_raw = \"59min\"", "fleet.toml:1: keep_raw must be 1h at least"},
    {"database = 1", "fleet.toml:1: database must be a text in quotes"},
    {"hold = \"yes\"", "fleet.toml:1: hold must be true or false"},
    {"share = \"6/5\"", "fleet.toml:1: share must be such as \"2/5\": the second of five"},
    {"share = \"0/5\"", "fleet.toml:1: share must be such as \"2/5\": the second of five"},
    {"share = 2", "fleet.toml:1: share must be such as \"2/5\": the second of five"},
    {"listen = \"8830\"", wrongListen},
    {"listen = \"::1\"", wrongListen},
    {"listen = \"127.0.0.1\"", wrongListen},
    {"listen = \"127.somewhere.example:8830\"", wrongListen},
    {"listen = 8830", wrongListen},
    {"token = \"two words\"",
     "fleet.toml:1: token must be of letters, digits and signs, without blanks"},
    {"\nlisten = \"0.0.0.0:8830\"",
     "fleet.toml:2: listen needs a token here: everybody in that network could read all"},
    {"[[meter]]\nname = \"x\"", "fleet.toml:1: a meter needs its address"},
    {"[[meter]]\naddress = \"a b\"",
     "fleet.toml:2: address must be \"HOST[:PORT]\", an IPv6 address in brackets"},
    {"[[meter]]\naddress = \"a\"\n[[meter]]\naddress = \"a:5025\"",
     "fleet.toml:3: a is given twice"},
    {"[[meter]]\naddress = \"a\"\nnmae = \"x\"", "fleet.toml:3: unknown key 'nmae'"},
    {"[[meter]]\naddress = \"a\"\nname = \"x\\u0007\"",
     "fleet.toml:3: name must be at most 64 bytes, without control characters and blanks at its "
     "ends"},
    {"[meter]\naddress = \"a\"", "fleet.toml:1: meter must be written as [[meter]]"},
    {"meter = 5", "fleet.toml:1: meter must be written as [[meter]]"},
    {"meter = [1, 2]", "fleet.toml:1: meter must be written as [[meter]]"},
    {"[[meter]]\naddress = \"a\"\n[[meter.channel]]\noffset_dB = 1",
     "fleet.toml:3: a channel needs its number: channel = 1"},
    {"[[meter]]\naddress = \"a\"\n[[meter.channel]]\nchannel = 3",
     "fleet.toml:4: channel must be a whole number from 1 to 2"},
    {"[[meter]]\naddress = \"a\"\n[[meter.channel]]\nchannel = 1\n[[meter.channel]]\nchannel = 1",
     "fleet.toml:5: channel 1 is given twice"},
    {"[[meter]]\naddress = \"a\"\n[[meter.channel]]\nchannel = 1\nvswr_high = 0.5",
     "fleet.toml:5: vswr_high must be 1 at least"},
    {"[[meter]]\naddress = \"a\"\n[[meter.channel]]\nchannel = 1\noffset_dB = \"1\"",
     "fleet.toml:5: offset_dB must be a number"},
    {"[[meter]]\naddress = \"a\"\n[[meter.channel]]\nchannel = 1\noffset_dB = inf",
     "fleet.toml:5: offset_dB must be a number"},
    {"[[meter]]\naddress = \"a\"\n[[meter.channel]]\nchannel = 1\nforward_low_W = 5\n"
     "forward_high_W = 5",
     "fleet.toml:3: forward_low_W must be below forward_high_W"},
    {"[export]\nurl = \"ftp://x\"", "fleet.toml:2: url must begin with http://"},
    {"[export]\nurl = \"http://x/write?precision=us\"",
     "fleet.toml:2: url must have precision=ms, precision=ns or none"},
    {"[export]\nbatch = 0", "fleet.toml:2: batch must be a whole number from 1 to 100000"},
    {"export = 1", "fleet.toml:1: export must be written as [export]"},
};

TEST_F(FleetConfigTest, WhatIsWrongIsToldWithItsLine) {
    for (const WrongConfig& wrong : wrongConfigs) {
        error.clear();
        EXPECT_FALSE(parse(wrong.text)) << wrong.text;
        EXPECT_EQ(wrong.error, error) << wrong.text;
    }
}

TEST_F(FleetConfigTest, WhatIsNoTomlIsToldWithItsLine) {
    for (const char* text : {"\n\nevery = ", "\n\n[[meter", "\n\n= 1", "\n\nevery = \"1s",
                             "\n\na\x01", "\n\nhold = tr\n[export]"}) {
        EXPECT_FALSE(parse(text)) << text;
        EXPECT_TRUE(error.starts_with("fleet.toml:3: ")) << error;
        EXPECT_EQ(std::string::npos, error.find('\n')) << error;
    }
}

TEST_F(FleetConfigTest, CharactersBeyondAsciiStandInTextsAndCommentsOnly) {
    ASSERT_TRUE(parse("# Zürich\n[[meter]]\naddress = \"a\"\nname = \"\\\"Zürich\"\n"
                      "place = \"Bülach €😀\" # é\n"))
        << error;
    EXPECT_EQ("\"Zürich", config.meters.at(0).name);
    EXPECT_EQ("Bülach €😀", config.meters.at(0).place);
    for (const char* text : {"\n\nevery = ·1", "\n\nplacé = 1", "\n\n·every = \"1s\"", "\n\"\n é",
                             "\n#\nx = \"\\\"\" é", "\n\nplace = 'é'", "\n\nplace = \"\\é\"",
                             "\n\nplace = \"\xc3\""}) {
        EXPECT_FALSE(parse(text)) << text;
        EXPECT_TRUE(error.starts_with("fleet.toml:3: ")) << text << error;
    }
    EXPECT_FALSE(parse("\nevery = \"\"\"\n1s\"\"\""));
    EXPECT_EQ("fleet.toml:2: a text of several lines, which nothing here needs", error);
    EXPECT_FALSE(parse("[*meter]"));
    EXPECT_TRUE(error.starts_with("fleet.toml:1: ")) << error;
}

TEST_F(FleetConfigTest, AFileThatIsNotThereIsTold) {
    EXPECT_FALSE(FleetConfig_read("/none/fleet.toml", config, error));
    EXPECT_EQ("/none/fleet.toml:1: it cannot be read", error);
}

} // namespace
