#include "CGraphData.h"

#include "CSimpleTimer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cfloat>
#include <cmath>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace {

class GraphDataTest : public testing::Test {
protected:
    std::unique_ptr<CGraphData> owner = std::make_unique<CGraphData>();
    CGraphData* const data = owner.get();

    void create(uint32_t width) {
        CGraphData_create(data, width);
    }
    void add(std::initializer_list<float> powers) {
        for (const float power : powers) {
            CGraphData_addItem(data, power);
        }
    }
    /// Fills up with values of many magnitudes, so that the order of a sum shows in its last bit.
    void addNoise(uint32_t count) {
        std::mt19937 random(8830);
        std::uniform_real_distribution<float> exponent(-9.0F, 5.0F);
        for (uint32_t i = 0; i < count; ++i) {
            CGraphData_addItem(data, std::pow(10.0F, exponent(random)));
        }
    }
    /// The definition of an average, word for word.
    GraphDataItem plainAverage(uint32_t start) const {
        double sum = 0.0;
        for (uint32_t i = 0; i < data->filterWidth; ++i) {
            sum += static_cast<double>(data->rawData[start + i].power);
        }
        return {static_cast<float>(sum / static_cast<double>(data->filterWidth)),
                data->rawData[start].timestamp};
    }
    void expectAllAveragesPlain() const {
        for (uint32_t i = 0; i + data->filterWidth <= data->count; ++i) {
            const GraphDataItem expected = plainAverage(i);
            const GraphDataItem& item = data->averageData[i];
            ASSERT_EQ(std::bit_cast<uint32_t>(item.power), std::bit_cast<uint32_t>(expected.power))
                << "average " << i << " of width " << data->filterWidth;
            ASSERT_EQ(item.timestamp, expected.timestamp);
        }
    }
};

} // namespace

TEST_F(GraphDataTest, WidthIsClampedTo2And64) {
    struct {
        uint32_t given;
        uint32_t stored;
    } const cases[] = {{0, 2}, {1, 2}, {2, 2}, {33, 33}, {64, 64}, {65, 64}, {100, 64}};
    for (const auto& test : cases) {
        *data = {};
        create(test.given);
        EXPECT_EQ(data->filterWidth, test.stored);
        CGraphData_setFilterWidth(data, 10);
        CGraphData_setFilterWidth(data, test.given);
        EXPECT_EQ(data->filterWidth, test.stored);
    }
}

TEST_F(GraphDataTest, AFreshBufferIsEmptyInBothModes) {
    create(4);
    EXPECT_EQ(CGraphData_getCount(data, RawData), 0U);
    EXPECT_EQ(CGraphData_getCount(data, AveragedData), 0U);
    EXPECT_TRUE(std::isnan(CGraphData_getMinValue(data, RawData)));
    EXPECT_TRUE(std::isnan(CGraphData_getMaxValue(data, RawData)));
    EXPECT_TRUE(std::isnan(CGraphData_getItem(data, 0, RawData).power));
    EXPECT_EQ(CGraphData_getItem(data, 0, RawData).timestamp, 0U);
}

TEST_F(GraphDataTest, AppendedSamplesCarryPowerAndTime) {
    create(2);
    const uint32_t before = getTime_ms();
    add({1.5F, 2.5F});
    const uint32_t after = getTime_ms();
    EXPECT_EQ(CGraphData_getItem(data, 0, RawData).power, 1.5F);
    const GraphDataItem second = CGraphData_getItem(data, 1, RawData);
    EXPECT_EQ(second.power, 2.5F);
    EXPECT_LE(second.timestamp - before, after - before);
    EXPECT_TRUE(std::isnan(CGraphData_getItem(data, 2, RawData).power));
}

TEST_F(GraphDataTest, WithWidth4TheFourthSampleMakesTheFirstAverage) {
    create(4);
    add({1.0F, 2.0F, 3.0F});
    EXPECT_EQ(CGraphData_getCount(data, AveragedData), 0U);
    EXPECT_TRUE(std::isnan(CGraphData_getItem(data, 0, AveragedData).power));
    add({6.0F});
    EXPECT_EQ(CGraphData_getCount(data, AveragedData), 1U);
    const GraphDataItem average = CGraphData_getItem(data, 0, AveragedData);
    EXPECT_EQ(average.power, 3.0F);
    EXPECT_EQ(average.timestamp, CGraphData_getItem(data, 0, RawData).timestamp);
    EXPECT_TRUE(std::isnan(CGraphData_getItem(data, 1, AveragedData).power));
}

TEST_F(GraphDataTest, NotANumberIsNotStored) {
    create(2);
    add({1.0F, NAN, 2.0F});
    EXPECT_EQ(CGraphData_getCount(data, RawData), 2U);
    EXPECT_EQ(CGraphData_getItem(data, 1, RawData).power, 2.0F);
}

TEST_F(GraphDataTest, The86464thSampleIsDropped) {
    create(64);
    for (uint32_t i = 0; i < 86463; ++i) {
        CGraphData_addItem(data, static_cast<float>(i));
    }
    EXPECT_EQ(CGraphData_getCount(data, RawData), 86463U);
    EXPECT_EQ(CGraphData_getCount(data, AveragedData), 86400U);
    add({-1.0F});
    EXPECT_EQ(CGraphData_getCount(data, RawData), 86463U);
    EXPECT_EQ(CGraphData_getItem(data, 86462, RawData).power, 86462.0F);
    EXPECT_TRUE(std::isnan(CGraphData_getItem(data, 86463, RawData).power));
    EXPECT_EQ(CGraphData_getItem(data, 86399, AveragedData).power, 86430.5F);
}

TEST_F(GraphDataTest, ResetEmptiesTheBufferAndKeepsTheWidth) {
    create(3);
    add({1.0F, 2.0F, 3.0F, 4.0F});
    CGraphData_reset(data);
    EXPECT_EQ(data->count, 0U);
    EXPECT_EQ(data->filterWidth, 3U);
    EXPECT_EQ(data->rawData[0].power, 0.0F);
    EXPECT_EQ(data->averageData[0].power, 0.0F);
    EXPECT_EQ(data->averageData[1].timestamp, 0U);
}

TEST_F(GraphDataTest, MinimumAndMaximumOfRawDataLookAtEverySample) {
    create(2);
    add({3.0F, 1.0F, 7.0F});
    EXPECT_EQ(CGraphData_getMinValue(data, RawData), 1.0F);
    EXPECT_EQ(CGraphData_getMaxValue(data, RawData), 7.0F);
}

TEST_F(GraphDataTest, TheMaximumOfZerosIsTheSmallestNormalNumber) {
    create(2);
    add({0.0F, 0.0F});
    EXPECT_EQ(CGraphData_getMaxValue(data, RawData), 1.17549435e-38F);
    EXPECT_EQ(CGraphData_getMinValue(data, RawData), 0.0F);
}

TEST_F(GraphDataTest, TheMinimumOfInfinitiesIsTheLargestFiniteNumber) {
    create(2);
    add({INFINITY, INFINITY});
    EXPECT_EQ(CGraphData_getMinValue(data, RawData), FLT_MAX);
}

TEST_F(GraphDataTest, TheNewestAverageIsLeftOutOfMinimumAndMaximum) {
    create(2);
    add({4.0F, 6.0F, 8.0F, 100.0F});
    EXPECT_EQ(CGraphData_getCount(data, AveragedData), 3U);
    EXPECT_EQ(CGraphData_getMinValue(data, AveragedData), 5.0F);
    EXPECT_EQ(CGraphData_getMaxValue(data, AveragedData), 7.0F);
}

TEST_F(GraphDataTest, OneSingleAverageHasNoMinimumOrMaximum) {
    create(2);
    add({4.0F, 6.0F});
    EXPECT_TRUE(std::isnan(CGraphData_getMinValue(data, AveragedData)));
    EXPECT_TRUE(std::isnan(CGraphData_getMaxValue(data, AveragedData)));
}

TEST_F(GraphDataTest, FewerSamplesThanTheWidthScanTheEmptyAverages) {
    create(4);
    for (const float power : {5.0F, 6.0F, 7.0F}) {
        EXPECT_EQ(CGraphData_getMinValue(data, AveragedData), 0.0F);
        EXPECT_EQ(CGraphData_getMaxValue(data, AveragedData), FLT_MIN);
        CGraphData_addItem(data, power);
    }
    EXPECT_EQ(CGraphData_getMinValue(data, AveragedData), 0.0F);
}

TEST_F(GraphDataTest, MinimumAndMaximumLookAtADayOfRawSamplesOnly) {
    create(64);
    for (uint32_t i = 0; i < graphRawCapacity; ++i) {
        CGraphData_addItem(data, i < 86400 ? 5.0F : static_cast<float>(i));
    }
    EXPECT_EQ(CGraphData_getMaxValue(data, RawData), 5.0F);
}

TEST_F(GraphDataTest, EveryAppendKeepsTheAveragesPlain) {
    for (const uint32_t width : {2U, 3U, 63U, 64U}) {
        *data = {};
        create(width);
        addNoise(300);
        expectAllAveragesPlain();
    }
}

TEST_F(GraphDataTest, AChangedWidthRecomputesEveryAverageBitForBit) {
    create(2);
    addNoise(1000);
    for (uint32_t width = graphMaxFilterWidth; width >= graphMinFilterWidth; --width) {
        CGraphData_setFilterWidth(data, width);
        expectAllAveragesPlain();
    }
}

TEST_F(GraphDataTest, AChangedWidthOfAFullBufferRecomputesEveryAverageBitForBit) {
    create(2);
    addNoise(graphRawCapacity);
    for (const uint32_t width : {64U, 7U, 63U}) {
        CGraphData_setFilterWidth(data, width);
        EXPECT_EQ(CGraphData_getCount(data, AveragedData), graphRawCapacity - width + 1);
        expectAllAveragesPlain();
    }
}

TEST_F(GraphDataTest, AWidthBeyondTheCountLeavesNoAverageInReach) {
    create(2);
    add({1.0F, 2.0F, 3.0F});
    CGraphData_setFilterWidth(data, 4);
    EXPECT_EQ(CGraphData_getCount(data, AveragedData), 0U);
    EXPECT_TRUE(std::isnan(CGraphData_getItem(data, 0, AveragedData).power));
    EXPECT_EQ(data->averageData[0].power, 1.5F) << "stale values stay";
}

TEST_F(GraphDataTest, CreatingAnExistingBufferEmptiesItAndTakesTheNewWidth) {
    create(4);
    add({1.0F, 2.0F});
    create(9);
    EXPECT_EQ(data->filterWidth, 9U);
    EXPECT_EQ(data->count, 0U);
}

TEST_F(GraphDataTest, BulkCopyGivesWhatTheAccessorGives) {
    create(3);
    addNoise(50);
    for (const GraphDataMode_t mode : {RawData, AveragedData}) {
        const uint32_t count = CGraphData_getCount(data, mode);
        std::vector<float> powers(60, -1.0F);
        ASSERT_EQ(CGraphData_copyPowers(data, mode, 5, powers), count - 5);
        for (uint32_t i = 5; i < count; ++i) {
            EXPECT_EQ(powers[i - 5], CGraphData_getItem(data, i, mode).power);
        }
        EXPECT_EQ(powers[count - 5], -1.0F);
        EXPECT_EQ(CGraphData_copyPowers(data, mode, count, powers), 0U);
        EXPECT_EQ(CGraphData_copyPowers(data, mode, 0, std::span(powers).first(7)), 7U);
    }
}

TEST_F(GraphDataTest, ColumnsGatherExactlyThePointsThatFallIntoThem) {
    create(5);
    addNoise(1000);
    struct {
        uint32_t end;
        uint32_t pointSpan;
        uint32_t columns;
    } const cases[] = {{1000, 1000, 100}, {1000, 900, 7}, {333, 1000, 700},  {5000, 1200, 333},
                       {0, 100, 10},      {10, 60, 696},  {1000, 86400, 64}, {1000, 1, 3}};
    for (const GraphDataMode_t mode : {RawData, AveragedData}) {
        for (const auto& test : cases) {
            std::vector<GraphColumn> columns(test.columns);
            CGraphData_getColumns(data, mode, test.end, test.pointSpan, columns);
            std::vector<std::vector<float>> expected(test.columns);
            const uint32_t end = std::min(test.end, CGraphData_getCount(data, mode));
            for (uint32_t i = 0; i < end; ++i) {
                const uint64_t column = uint64_t{i} * test.columns / test.pointSpan;
                if (column < test.columns) {
                    expected[column].push_back(CGraphData_getItem(data, i, mode).power);
                }
            }
            for (uint32_t c = 0; c < test.columns; ++c) {
                ASSERT_EQ(columns[c].count, expected[c].size()) << "column " << c;
                if (!expected[c].empty()) {
                    EXPECT_EQ(columns[c].first, expected[c].front());
                    EXPECT_EQ(columns[c].last, expected[c].back());
                    EXPECT_EQ(columns[c].least, *std::ranges::min_element(expected[c]));
                    EXPECT_EQ(columns[c].greatest, *std::ranges::max_element(expected[c]));
                }
            }
        }
    }
}

TEST_F(GraphDataTest, AWriterAndReadersNeverSeeAHalfWrittenPoint) {
    create(2);
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (uint32_t i = 0; i < 20000; ++i) {
            CGraphData_addItem(data, 7.0F);
        }
        done = true;
    });
    while (!done) {
        const uint32_t raw = CGraphData_getCount(data, RawData);
        if (raw > 1) {
            EXPECT_EQ(CGraphData_getItem(data, raw - 1, RawData).power, 7.0F);
            EXPECT_EQ(CGraphData_getItem(data, raw - 2, AveragedData).power, 7.0F);
        }
        CGraphData_setFilterWidth(data, 2);
    }
    writer.join();
    EXPECT_EQ(data->count, 20000U);
}
