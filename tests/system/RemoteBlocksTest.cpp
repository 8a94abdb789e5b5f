// What is answered as a block, over both links: the picture of the screen, and the history of a
// display.
#include "MeterTest.h"
#include "Picture.h"
#include "ScpiClient.h"
#include "WorldFolder.h"

#include <cstdlib>
#include <cstring>

using testing::Each;
using testing::FloatNear;

namespace {

class RemoteBlocks : public MeterTest {
protected:
    /// The meter with these lines in its settings file.
    void startWith(const std::string& settings) {
        start({.prepare = [&settings](const std::string& world) {
            WorldFolder_write(world, instrumentFile::settings, settings);
        }});
    }
    /// What the bench sees on the screen.
    Picture benchPicture() {
        const std::string file = bench.world + "/bench.png";
        return Bench_savePicture(bench, file) ? Picture_read(WorldFolder_readFile(file))
                                              : Picture{};
    }
    /// The picture that the meter sends, and the bench's before and after it are one.
    testing::AssertionResult showsTheScreen(ScpiClient& client) {
        Picture sent;
        const auto isOne = [&] {
            const Picture before = benchPicture();
            sent = Picture_read(client.askBlock("HCOP:SDUM:DATA?").value_or(""));
            return sent.width > 0 && sent == before && sent == benchPicture();
        };
        return Bench_waitUntil(isOne, screenLimit_ms)
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure() << "a picture of " << sent.width << " x "
                                                 << sent.height << " that differs";
    }
};

std::vector<float> samplesOf(const std::string& block) {
    std::vector<float> samples(block.size() / sizeof(float));
    memcpy(samples.data(), block.data(), samples.size() * sizeof(float));
    return samples;
}

uint32_t pointsOf(ScpiClient& client, const std::string& channel) {
    return static_cast<uint32_t>(strtoul(client.ask("TRAC:POIN? " + channel).c_str(), nullptr, 10));
}

} // namespace

TEST_F(RemoteBlocks, ThePictureIsWhatTheScreenShows) {
    start();
    ScpiClient tcp(bench);
    ScpiClient terminal(bench, ScpiClient::Wire::commandPort);
    for (ScpiClient* client : {&tcp, &terminal}) {
        EXPECT_TRUE(showsTheScreen(*client)) << "without a sensor";
    }
    plugFirst("serial1", "5132 fwd=25 rfl=2");
    for (ScpiClient* client : {&tcp, &terminal}) {
        EXPECT_TRUE(showsTheScreen(*client)) << "with a reading";
        EXPECT_EQ(client->ask("SYST:ERR?"), "0,\"No error\"");
    }
}

TEST_F(RemoteBlocks, ThePictureShowsADialogThatWaitsForTheUser) {
    start();
    ScpiClient client(bench);
    const Picture before = Picture_read(client.askBlock("HCOP:SDUM:DATA?").value_or(""));
    ASSERT_TRUE(Bench_do(bench, "plug serial1 5132 fwd=25"));
    ASSERT_TRUE(becomesVisible(channelDialog::window, true));
    EXPECT_TRUE(showsTheScreen(client));
    EXPECT_FALSE(before == benchPicture());
    ASSERT_TRUE(chooseChannel(1));
}

TEST_F(RemoteBlocks, TheHistoryHoldsWhatTheSensorsMeasuredInTheGraphsDirection) {
    startWith("displayGraph 1\ngraphReflectedMode_ch2 1\n");
    ASSERT_TRUE(Bench_do(bench, "plug serial1 5132 fwd=ramp:5:20:30s rfl=1"));
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(waitForReading("singleGraph.fwd.value"));
    plug("serial2", "5132 fwd=40 rfl=2");
    ScpiClient tcp(bench);
    ScpiClient terminal(bench, ScpiClient::Wire::commandPort);
    setSpeed(4);
    ASSERT_TRUE(Bench_waitUntil([&] { return pointsOf(tcp, "2") > 40; }, readingLimit_ms));
    const std::vector<float> reflected = samplesOf(tcp.askBlock("TRAC:DATA? 2").value_or(""));
    EXPECT_GT(reflected.size(), 40U);
    EXPECT_THAT(reflected, Each(FloatNear(2, 1e-4F)));
    for (ScpiClient* client : {&tcp, &terminal}) {
        const std::vector<float> forward = samplesOf(client->askBlock("TRAC:DATA?").value_or(""));
        ASSERT_GE(forward.size(), reflected.size());
        EXPECT_TRUE(std::is_sorted(forward.begin(), forward.end())) << "oldest first";
        EXPECT_GE(forward.front(), 5 - 1e-4F);
        EXPECT_NEAR(forward.back(), 20, 1e-4);
        EXPECT_LE(forward.size(), pointsOf(*client, "1"));
    }
}

TEST_F(RemoteBlocks, TheHistoryIsEmptyWithoutAGraphAndRefusedWithoutASensor) {
    start();
    ScpiClient client(bench);
    client.send("TRAC:DATA?");
    EXPECT_EQ(client.ask("SYST:ERR?"),
              "-220,\"Parameter error;No sensor connected on the channel\"");
    plugFirst("serial1", "5132 fwd=25");
    EXPECT_EQ(client.askBlock("TRAC:DATA?"), "");
    EXPECT_EQ(client.ask("TRAC:POIN?"), "0");
}

TEST_F(RemoteBlocks, ALineOfSevenDataBitsIsToldThatItCannotCarryThem) {
    startWith("serialDataBits 7\n");
    ScpiClient terminal(bench, ScpiClient::Wire::commandPort);
    EXPECT_EQ(terminal.ask("HCOP:SDUM:DATA?;:SYST:ERR?"),
              "-221,\"Settings conflict;A block needs 8 data bits\"");
    ScpiClient tcp(bench);
    EXPECT_TRUE(showsTheScreen(tcp));
}

TEST_F(RemoteBlocks, AClientThatHangsUpInTheMiddleOfAPictureHarmsNobody) {
    start();
    // The first pictures take memory that the following ones use again.
    for (int number = 0; number < 5; ++number) {
        EXPECT_TRUE(ScpiClient(bench).askBlock("HCOP:SDUM:DATA?").has_value());
    }
    const ProgramUse before = Bench_programUse(bench);
    for (int number = 0; number < 20; ++number) {
        ScpiClient client(bench);
        ASSERT_EQ(client.ask("*OPC?"), "1");
        std::string line = "HCOP:SDUM:DATA?";
        for (int more = 0; more < 5; ++more) {
            line += ";:HCOP:SDUM:DATA?";
        }
        ASSERT_TRUE(client.send(line));
    }
    ScpiClient client(bench);
    EXPECT_TRUE(showsTheScreen(client));
    const auto hasThisClientMore = [&] {
        return Bench_programUse(bench).descriptors <= before.descriptors + 1;
    };
    EXPECT_TRUE(Bench_waitUntil(hasThisClientMore, screenLimit_ms));
    if (memoryCanBeMeasured) {
        // The allocator may keep one picture's pixels more; 120 files that were lost would be more.
        constexpr long kept_kB = 1024 * 768 * 4 / 1024 + 1500;
        EXPECT_LT(Bench_programUse(bench).resident_kB - before.resident_kB, kept_kB);
    }
}
