// The exporter with a receiver that answers by halves, late or not at all, and without the memory
// to pack a batch.

#include "Exporter.h"

#include "FleetDatabase.h"
#include "GzipText.h"
#include "HalfReceiver.h"
#include "TestFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <dlfcn.h>
#include <set>
#include <zlib.h>

namespace {

std::atomic<bool> isMemoryGone = false; ///< when packing begins
std::atomic<bool> isPackingCut = false; ///< when it is under way

template <typename Function> Function realOf(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

// In the place of zlib's own, which are called unless memory is short.

extern "C" int deflateInit2_(z_streamp stream, int level, int method, int windowBits, int memLevel,
                             int strategy, const char* version, int size) {
    static const auto real = realOf<decltype(&deflateInit2_)>("deflateInit2_");
    return isMemoryGone
               ? Z_MEM_ERROR
               : real(stream, level, method, windowBits, memLevel, strategy, version, size);
}

extern "C" int deflate(z_streamp stream, int flush) {
    static const auto real = realOf<decltype(&deflate)>("deflate");
    return isPackingCut ? Z_BUF_ERROR : real(stream, flush);
}

namespace {

constexpr int64_t start_ms = 1795305060000;
constexpr int64_t count = 10; ///< readings
constexpr int64_t batch = 4;  ///< of them in a request
constexpr size_t batches = 3; ///< then
constexpr int64_t limit_s = 30;

struct ExporterTest : testing::Test {
    TestFolder folder;
    FleetDatabase database;
    std::shared_ptr<FleetLoop> loop = FleetLoop_create();
    std::shared_ptr<Exporter> exporter;
    std::vector<int64_t> taken;
    std::vector<std::string> told; ///< each only once in a row
    std::string error;

    void SetUp() override {
        const std::string path = folder.file("fleet.sqlite");
        ASSERT_TRUE(FleetDatabase_open(database, path, error)) << error;
        const size_t labels = ExportQueue_label(database.queue, {"A", "", 0});
        for (int64_t i = 0; i < count; ++i) {
            FleetReading made{start_ms + i, "20260001", 1, "5132", "77", FleetReading_noValues()};
            made.values[fleetForward] = static_cast<double>(i);
            FleetDatabase_add(database, made, labels);
        }
        ASSERT_TRUE(FleetDatabase_flush(database, error)) << error;
    }
    void TearDown() override {
        isMemoryGone = isPackingCut = false;
    }

    void tell(const std::string& trouble) {
        if (told.empty() || told.back() != trouble) {
            told.push_back(trouble);
        }
    }
    /// Exports until all readings are taken, or `isEnough`.
    void run(
        const HalfReceiver& receiver, int64_t answerTime_ms,
        const std::function<bool()>& isEnough = [] { return false; }) {
        ExportUrl url;
        ASSERT_EQ("", ExportUrl_parse(receiver.url(), url));
        exporter = Exporter_start(
            loop,
            {.url = url,
             .database = folder.file("fleet.sqlite"),
             .batch = batch,
             .answerTime_ms = answerTime_ms,
             .taken = [this](int64_t last) { taken.push_back(last); },
             .refused = [](const FleetReading&, const std::string& why) { ADD_FAILURE() << why; },
             .told = [this](const std::string& trouble) { tell(trouble); }},
            error);
        ASSERT_TRUE(exporter) << error;
        const int64_t end_ns = FleetLoop_monotonic_ns() + limit_s * 1'000'000'000;
        FleetLoop_every(*loop, 5, [this, end_ns, isEnough] {
            const bool isLate = FleetLoop_monotonic_ns() > end_ns;
            EXPECT_FALSE(isLate) << testing::PrintToString(told);
            if (isLate || isEnough() || (!taken.empty() && taken.back() == count)) {
                FleetLoop_stop(*loop);
            }
        });
        FleetLoop_run(*loop);
        Exporter_stop(*exporter);
    }
    void expectAllTakenOnce(const HalfReceiver& receiver) const {
        EXPECT_EQ((std::vector<int64_t>{4, 8, 10}), taken);
        // A batch came again as it was, if at all.
        const std::vector<std::string> bodies = receiver.bodies();
        EXPECT_EQ(batches, std::set<std::string>(bodies.begin(), bodies.end()).size());
        EXPECT_EQ(static_cast<uint64_t>(count), Exporter_counts(*exporter).exported);
    }
};

TEST_F(ExporterTest, HalfAnAnswerIsNone) {
    const HalfReceiver receiver({HalfAnswer::half, HalfAnswer::whole, HalfAnswer::half});
    run(receiver, 10'000);
    expectAllTakenOnce(receiver);
    EXPECT_EQ(batches + 2, receiver.bodies().size());
    EXPECT_EQ(receiver.bodies()[0], receiver.bodies()[1]);
    EXPECT_EQ(2U, told.size()) << testing::PrintToString(told); // the first one only, and its end
}

TEST_F(ExporterTest, AnAnswerThatDoesNotComeInItsTimeIsNone) {
    const HalfReceiver receiver({HalfAnswer::none, HalfAnswer::halfAndWaiting});
    run(receiver, 500);
    expectAllTakenOnce(receiver);
    EXPECT_LE(batches + 2, receiver.bodies().size()); // a slow machine has more such answers
    ASSERT_FALSE(told.empty());
    EXPECT_NE(std::string::npos, told.front().find("time")) << told.front();
    EXPECT_EQ("", told.back());
}

TEST_F(ExporterTest, ALateAnswerInItsTimeIsAsGoodAsAny) {
    const HalfReceiver receiver({HalfAnswer::late, HalfAnswer::late});
    run(receiver, 30'000);
    expectAllTakenOnce(receiver);
    EXPECT_EQ(batches, receiver.bodies().size());
    EXPECT_EQ((std::vector<std::string>{""}), told);
}

TEST_F(ExporterTest, WhatThereIsTooLittleMemoryForIsTriedAgain) {
    const HalfReceiver receiver({});
    isMemoryGone = true;
    run(receiver, 10'000, [this] { return !told.empty(); });
    EXPECT_EQ((std::vector<std::string>{"there is too little memory"}), told);
    EXPECT_EQ((std::vector<int64_t>{}), taken);
    EXPECT_EQ(0U, receiver.bodies().size());
}

TEST_F(ExporterTest, WithMemoryAgainAllOfItFollows) {
    const HalfReceiver receiver({});
    isMemoryGone = true;
    run(receiver, 10'000, [this] {
        isMemoryGone = told.empty();
        return false;
    });
    expectAllTakenOnce(receiver);
    EXPECT_EQ((std::vector<std::string>{"there is too little memory", ""}), told);
}

TEST_F(ExporterTest, APackedTextIsWholeOrNone) {
    EXPECT_NE("", GzipText_make("text"));
    isPackingCut = true;
    EXPECT_EQ("", GzipText_make("text"));
    isMemoryGone = true;
    EXPECT_EQ("", GzipText_make("text"));
}

} // namespace
