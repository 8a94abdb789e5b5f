#include "Supply.h"

#include "WorldFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <linux/input.h>
#include <poll.h>
#include <unistd.h>
#include <vector>

using testing::HasSubstr;

namespace {

constexpr int64_t second_ns = 1000000000;
const std::string charger = "/sys/devices/virtual/battery_charger/ltc4162/";
const std::string gauge = "/sys/class/power_supply/fuel_gauge/";

class SupplyTest : public testing::Test {
protected:
    void SetUp() override {
        world = WorldFolder_makeTemporary("quorvel-supply");
        ASSERT_TRUE(WorldFolder_create(world));
        ASSERT_TRUE(Supply_open(supply, world));
    }

    void TearDown() override {
        Supply_close(supply);
        WorldFolder_remove(world);
    }

    std::string read(const std::string& path) const {
        return WorldFolder_read(world, path);
    }

    bool set(const char* key, const char* value) {
        return Supply_set(supply, key, value, 0, error);
    }

    Supply supply{};
    std::string world;
    std::string error;
};

} // namespace

TEST_F(SupplyTest, StatesAreTheChargersWords) {
    const struct {
        const char* state;
        const char* word;
    } cases[] = {{"discharging", "256\n"}, {"charging", "64\n"}, {"full", "8\n"},
                 {"detecting", "2048\n"},  {"missing", "2\n"},   {"failed", "4096\n"}};
    for (const auto& c : cases) {
        ASSERT_TRUE(set("state", c.state)) << error;
        EXPECT_EQ(read(charger + "chargerState_raw"), c.word) << c.state;
    }
}

TEST_F(SupplyTest, ReadingsAreWrittenInTheGaugesUnits) {
    ASSERT_TRUE(set("volts", "11.4"));
    ASSERT_TRUE(set("temp", "-5.5"));
    ASSERT_TRUE(set("charge", "11140951"));
    EXPECT_EQ(read(gauge + "voltage_now"), "11400000\n");
    EXPECT_EQ(read(gauge + "temp"), "-55\n");
    EXPECT_EQ(read(gauge + "charge_now"), "11140614\n") << "as it is counted";
}

TEST_F(SupplyTest, RefusalsNameWhatIsAllowed) {
    const struct {
        const char* key;
        const char* value;
        const char* says;
    } cases[] = {{"mood", "good", "a battery has state, volts"},
                 {"state", "flat", "there are discharging, charging"},
                 {"volts", "many", "is not a number from 0 to 100"},
                 {"fail", "2", "is not a number from 0 to 1"}};
    for (const auto& c : cases) {
        EXPECT_FALSE(set(c.key, c.value));
        EXPECT_THAT(error, HasSubstr(c.says));
    }
}

TEST_F(SupplyTest, ADrainEndsInAnEmptyBattery) {
    ASSERT_TRUE(set("volts", "12.2"));
    Supply_drain(supply, 60, 0);
    EXPECT_EQ(read(charger + "chargerState_raw"), "256\n");
    Supply_service(supply, 30 * second_ns);
    EXPECT_EQ(read(gauge + "voltage_now"), "11200000\n");
    EXPECT_EQ(Supply_nextDue_ns(supply), 30 * second_ns + second_ns / 5);
    Supply_service(supply, 90 * second_ns);
    EXPECT_EQ(read(gauge + "voltage_now"), "10200000\n");
    EXPECT_EQ(read(gauge + "charge_now"), "5940527\n");
    EXPECT_EQ(Supply_nextDue_ns(supply), INT64_MAX);
}

TEST_F(SupplyTest, ADrainStartsFromTheChargeThatTheProgramHasSet) {
    WorldFolder_write(world, gauge + "charge_now", "11140950\n");
    Supply_drain(supply, 10, 0);
    Supply_service(supply, 5 * second_ns);
    EXPECT_EQ(read(gauge + "charge_now"), "8539626\n");
}

TEST_F(SupplyTest, AChargeThatTheProgramWritesIsCountedOnce) {
    WorldFolder_write(world, gauge + "charge_now", std::string("11140951\0\0", 10));
    for (int pass = 0; pass < 3; ++pass) {
        Supply_service(supply, 0);
        EXPECT_EQ(read(gauge + "charge_now"), "11140614\n") << pass;
    }
}

TEST_F(SupplyTest, WhoOpensASwitchThatIsHeldIsToldSo) {
    const auto events = [this] {
        Supply_service(supply, 0);
        const int fd = open(WorldFolder_path(world, "/dev/input/event0").c_str(),
                            O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        Supply_service(supply, 0);
        std::vector<int> values;
        input_event event{};
        while (::read(fd, &event, sizeof event) == sizeof event) {
            values.push_back(event.value);
        }
        close(fd);
        return values;
    };
    EXPECT_EQ(events(), std::vector<int>{});
    Supply_holdSwitch(supply, true);
    EXPECT_EQ(events(), (std::vector<int>{1, 1})) << "the press, and the level when it was opened";
    EXPECT_EQ(events(), std::vector<int>{1});
    Supply_holdSwitch(supply, false);
    EXPECT_EQ(events(), std::vector<int>{0});
    EXPECT_EQ(events(), std::vector<int>{});
}

TEST_F(SupplyTest, ExternalPowerChargesAndLeavesAFullBatteryFull) {
    Supply_setExternalPower(supply, false);
    EXPECT_EQ(read(charger + "chargerState_raw"), "256\n");
    Supply_setExternalPower(supply, true);
    EXPECT_EQ(read(charger + "chargerState_raw"), "64\n");
    ASSERT_TRUE(set("state", "full"));
    Supply_setExternalPower(supply, true);
    EXPECT_EQ(read(charger + "chargerState_raw"), "8\n");
}

TEST_F(SupplyTest, FilesThatFailAreMissingNowAndThen) {
    ASSERT_TRUE(set("fail", "0.5"));
    int missing = 0;
    int there = 0;
    for (int64_t step = 0; step < 40; ++step) {
        Supply_service(supply, step * second_ns);
        const bool isThere = !read(gauge + "voltage_now").empty();
        (isThere ? there : missing) += 1;
    }
    EXPECT_GT(missing, 5);
    EXPECT_GT(there, 5);
}

TEST_F(SupplyTest, OnePressOfTheSwitchIsOneInputEvent) {
    const std::string device = WorldFolder_path(world, "/dev/input/event0");
    const int fd = open(device.c_str(), O_RDONLY | O_NOCTTY);
    ASSERT_GE(fd, 0);
    pollfd waiting{fd, POLLIN, 0};
    EXPECT_EQ(poll(&waiting, 1, 0), 0) << "no press yet";
    Supply_pressSwitch(supply);
    EXPECT_EQ(poll(&waiting, 1, 2000), 1);
    char buffer[31];
    EXPECT_EQ(::read(fd, buffer, sizeof buffer), 24);
    EXPECT_EQ(poll(&waiting, 1, 0), 0);
    close(fd);
}

TEST_F(SupplyTest, StatusShowsWhatTheProgramHasWritten) {
    WorldFolder_write(world, charger + "inputCurrentLimit_raw",
                      std::string("39") + std::string(14, '\0'));
    EXPECT_THAT(Supply_describe(supply), HasSubstr("inputCurrentLimit_raw: 39\n"));
}
