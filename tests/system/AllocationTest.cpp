// A meter that measures asks for no memory: what runs on for years must not depend on an allocator.

#include "AllocationCounter.h"
#include "MeterTest.h"
#include "WorldFolder.h"

#include <cinttypes>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/mman.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class Allocations : public MeterTest {
protected:
    void SetUp() override {
        countsFolder = WorldFolder_makeTemporary("quorvel-allocations");
        ASSERT_NE(countsFolder, "");
        file = countsFolder + "/counts";
        const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(ftruncate(fd, sizeof(AllocationCounts)), 0);
        void* mapped =
            mmap(nullptr, sizeof(AllocationCounts), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        close(fd);
        ASSERT_NE(mapped, MAP_FAILED);
        counts = static_cast<AllocationCounts*>(mapped);
    }
    void TearDown() override {
        MeterTest::TearDown();
        if (counts != nullptr) {
            munmap(counts, sizeof(AllocationCounts));
            WorldFolder_remove(countsFolder);
        }
    }

    /// The meter behind the counting library.
    void startCounted(const std::string& settings) {
        const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
        const fs::path libraries = folder.parent_path() / "lib";
        start({.commands = {"clock speed 4"},
               .program = "/usr/bin/env",
               .programArguments = {std::string("LD_PRELOAD=") + QUORVEL_ALLOCATION_COUNTER + ":" +
                                        (libraries / "libquorvelbench.so").string(),
                                    std::string(allocationCountsVariable) + "=" + file,
                                    folder / "QuorvelPowerMeterApp"},
               .prepare = [this, settings](const std::string&) {
                   ASSERT_TRUE(Bench_writeFile(bench,
                                               "/etc/QuorvelPowerMeterApp/"
                                               "QuorvelApplicationSettings.conf",
                                               settings));
               }});
        ASSERT_EQ(counts->isLoaded, 1U);
        ASSERT_GT(counts->count, 0U) << "start-up asks for memory: the counting works";
    }

    /// What all sensors have sent so far, in bytes.
    uint64_t received() {
        std::string status;
        Bench_do(bench, "status", &status);
        uint64_t sum = 0;
        for (size_t at = status.find("sent="); at != std::string::npos;
             at = status.find("sent=", at + 1)) {
            sum += strtoull(status.c_str() + at + 5, nullptr, 10);
        }
        return sum;
    }

    void expectNoneWhileReading(uint64_t bytes) {
        const uint32_t before = counts->count;
        const uint64_t start = received();
        ASSERT_TRUE(Bench_waitUntil([&] { return received() >= start + bytes; }, 60000 * patience));
        const uint32_t after = counts->count;
        std::string places;
        for (uint32_t number = before; number != after && number < before + 8; ++number) {
            char place[32];
            snprintf(place, sizeof place, " 0x%" PRIxPTR,
                     counts->callers[number % allocationCallersKept].load());
            places += place;
        }
        EXPECT_EQ(after - before, 0U) << "from the program's addresses" << places;
    }

    std::string countsFolder;
    std::string file;
    AllocationCounts* counts = nullptr;
};

} // namespace

TEST_F(Allocations, ReadingTwoSerialSensorsAsksForNoMemory) {
    startCounted("");
    plugFirst("serial1", "5134 fwd=walk:0.1:3000:2s rfl=walk:0:2:1s");
    plug("serial2", "5132 fwd=sine:1:900:3s rfl=sine:0:50:2s");
    ASSERT_TRUE(waitForReading("lower.fwd.value"));
    expectNoneWhileReading(20000);
}

TEST_F(Allocations, ReadingUsbSensorsInPulseModeAsksForNoMemory) {
    startCounted("sensorPulseMode 1\n");
    plug("usb1", "3164 fwd=walk:0.1:1500:2s rfl=walk:0:2:1s period=1ms width=250us");
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(waitForReading("pulse.valueFwd"));
    expectNoneWhileReading(20000);
}

TEST_F(Allocations, DrawingTheGraphAsksForNoMemory) {
    startCounted("displayGraph 1\n");
    plug("serial1", "5134 fwd=walk:0.1:3000:2s rfl=walk:0:2:1s");
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(waitForReading("singleGraph.fwd.value"));
    expectNoneWhileReading(20000);
}

TEST_F(Allocations, WaitingForASensorAsksForNoMemory) {
    startCounted("");
    const uint32_t before = counts->count;
    // Two heartbeats of the detection: twenty polls of the ports.
    const size_t beats = Bench_countInSyslog(bench, "hwPollingThread: Thread is alive");
    ASSERT_TRUE(Bench_waitUntil(
        [&] { return Bench_countInSyslog(bench, "hwPollingThread: Thread is alive") >= beats + 3; },
        20000 * patience));
    EXPECT_EQ(counts->count - before, 0U);
}
