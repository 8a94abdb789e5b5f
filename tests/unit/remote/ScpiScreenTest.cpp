// The picture of the screen: how it is answered, whoever takes it.
#include "CommandForms.h"
#include "RemoteInstrument.h"
#include "ScpiScreenCommands.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <unistd.h>

const std::vector<std::string> screenPatterns = {
    "HCOPy:SDUMp:DATA?",
};

namespace {

ScpiPictureOutcome outcome = ScpiPictureOutcome::taken;
std::string content;
int released = 0;

void release(void* png) {
    ++released;
    free(png);
}

ScpiPicture takePicture() {
    if (outcome != ScpiPictureOutcome::taken) {
        return {outcome};
    }
    char* png = static_cast<char*>(malloc(content.size()));
    memcpy(png, content.data(), content.size());
    return {outcome, {png, release}, content.size()};
}

class ScpiScreen : public testing::Test {
protected:
    void SetUp() override {
        outcome = ScpiPictureOutcome::taken;
        content = "\x89PNG\r\n\x1a\n#;\"";
        content += '\0';
        released = 0;
        ScpiScreenCommands_registerCamera(takePicture);
    }
    void TearDown() override {
        ScpiScreenCommands_registerCamera(nullptr);
    }
    RemoteInstrument instrument;
};

TEST_F(ScpiScreen, IsAnsweredAsABlockOfTheBytesThatWereTaken) {
    expectExchange(instrument, {"HCOP:SDUM:DATA?", "#212" + content + "\r\n", ""});
    EXPECT_EQ(released, 1);
}

TEST_F(ScpiScreen, StandsBetweenOtherAnswers) {
    content = "ab";
    expectExchange(instrument, {"*OPC?;:HCOP:SDUM:DATA?;:SYST:VERS?", "1;#12ab;1999.0\r\n", ""});
}

TEST_F(ScpiScreen, IsAnsweredWholeWhenItIsLongerThanTheLinksBuffer) {
    content.clear();
    for (size_t i = 0; i < 3 * sizeof instrument.link.reply + 7; ++i) {
        content += static_cast<char>(i * 7 + i / 256);
    }
    const std::string size = std::to_string(content.size());
    expectExchange(instrument, {"HCOP:SDUM:DATA?",
                                "#" + std::to_string(size.size()) + size + content + "\r\n", ""});
}

TEST_F(ScpiScreen, IsMissingWhereNobodyTakesPictures) {
    ScpiScreenCommands_registerCamera(nullptr);
    expectExchange(instrument, {"HCOP:SDUM:DATA?", "", "-241,\"Hardware missing\""});
}

TEST_F(ScpiScreen, SaysWhyThereIsNone) {
    const struct {
        ScpiPictureOutcome outcome;
        const char* error;
    } rows[] = {
        {ScpiPictureOutcome::noScreen, "-241,\"Hardware missing\""},
        {ScpiPictureOutcome::noMemory, "-225,\"Out of memory\""},
        {ScpiPictureOutcome::failed, "-240,\"Hardware error\""},
    };
    for (const auto& row : rows) {
        outcome = row.outcome;
        expectExchange(instrument, {"HCOP:SDUM:DATA?", "", row.error});
    }
    EXPECT_EQ(instrument.send("*OPC?"), "1\r\n");
}

TEST_F(ScpiScreen, IsGivenBackWhenTheClientHasGone) {
    content.assign(1U << 20U, 'x');
    close(instrument.clientEnd);
    instrument.clientEnd = -1;
    EXPECT_FALSE(ScpiLink_receive(&instrument.link, "HCOP:SDUM:DATA?\n"));
    EXPECT_EQ(released, 1);
}

} // namespace
