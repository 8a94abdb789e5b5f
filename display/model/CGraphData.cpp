#include "CGraphData.h"

#include "CSimpleTimer.h"
#include "Threads.h"
#include "message.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

/// Averages that one pass of the recomputation works on side by side.
constexpr uint32_t averageBlock = 64;

constexpr float noPower = std::numeric_limits<float>::quiet_NaN();

uint32_t clampWidth(uint32_t width) {
    return std::clamp(width, graphMinFilterWidth, graphMaxFilterWidth);
}

/// The mean is summed in the order of the samples and in 64 bits; both decide its last bit.
GraphDataItem averageAt(const CGraphData* instance, uint32_t start) {
    double sum = 0.0;
    for (uint32_t i = 0; i < instance->filterWidth; ++i) {
        sum += static_cast<double>(instance->rawData[start + i].power);
    }
    return {static_cast<float>(sum / instance->filterWidth), instance->rawData[start].timestamp};
}

/// Computes up to a block of averages from `start` on. Each sum adds its samples in the same order
/// as averageAt, but the sums of a block advance together, which the processor can overlap.
void averageMany(CGraphData* instance, uint32_t start, uint32_t averages) {
    const uint32_t width = instance->filterWidth;
    double samples[averageBlock + graphMaxFilterWidth] = {};
    double sums[averageBlock] = {};
    for (uint32_t i = 0; i < averages + width - 1; ++i) {
        samples[i] = static_cast<double>(instance->rawData[start + i].power);
    }
    for (uint32_t i = 0; i < width; ++i) {
        const double* const sample = samples + i;
        for (uint32_t j = 0; j < averageBlock; ++j) {
            sums[j] += sample[j];
        }
    }
    for (uint32_t j = 0; j < averages; ++j) {
        instance->averageData[start + j] = {static_cast<float>(sums[j] / width),
                                            instance->rawData[start + j].timestamp};
    }
}

uint32_t countOf(const CGraphData* instance, GraphDataMode_t mode) {
    if (mode == RawData) {
        return instance->count;
    }
    return instance->count >= instance->filterWidth ? instance->count - instance->filterWidth + 1
                                                    : 0;
}

const GraphDataItem* itemsOf(const CGraphData* instance, GraphDataMode_t mode) {
    return mode == RawData ? instance->rawData : instance->averageData;
}

/// The point of a mode, {NaN, 0} beyond the end.
GraphDataItem itemAt(const CGraphData* instance, uint32_t index, GraphDataMode_t mode) {
    return index < countOf(instance, mode) ? itemsOf(instance, mode)[index]
                                           : GraphDataItem{noPower, 0};
}

/// The points that minimum and maximum take in. Existing test programs know two oddities, which
/// stay so: the newest average is left out (docs/compatibility.md: newest-average), and with fewer
/// samples than the width the unsigned difference wraps, so that all averages, which are empty
/// then, are taken in (docs/compatibility.md: empty-averages).
std::span<const GraphDataItem> scannedItems(const CGraphData* instance, GraphDataMode_t mode) {
    const uint32_t count =
        mode == RawData ? instance->count : instance->count - instance->filterWidth;
    return {itemsOf(instance, mode), std::min(count, graphMaxPoints)};
}

/// What `pick` leaves of a mode's values and `start`; NaN when there are none.
template <typename Pick>
float foldPowers(CGraphData* instance, GraphDataMode_t mode, float start, Pick pick) {
    const ScopedLock lock(instance->mutex);
    const std::span<const GraphDataItem> items = scannedItems(instance, mode);
    if (items.empty()) {
        return noPower;
    }
    float result = start;
    for (const GraphDataItem& item : items) {
        result = pick(result, item.power);
    }
    return result;
}

/// First point that falls into a column.
uint32_t firstPointOfColumn(uint64_t column, uint64_t pointSpan, uint64_t columnCount) {
    return static_cast<uint32_t>((column * pointSpan + columnCount - 1) / columnCount);
}

GraphColumn gatherColumn(std::span<const GraphDataItem> items) {
    if (items.empty()) {
        return {0, noPower, noPower, noPower, noPower};
    }
    float least = items.front().power;
    float greatest = least;
    for (const GraphDataItem& item : items) {
        least = std::min(least, item.power);
        greatest = std::max(greatest, item.power);
    }
    return {static_cast<uint32_t>(items.size()), items.front().power, items.back().power, least,
            greatest};
}

} // namespace

void CGraphData_create(CGraphData* instance, uint32_t filterWidth) {
    // A buffer that exists already keeps its mutex: other threads may be using it.
    const bool exists = instance->filterWidth != 0;
    if (!exists && pthread_mutex_init(&instance->mutex, nullptr) != 0) {
        DIAGNOSTIC("pthread_mutex_init FAILED for instance->mutex\n\n");
        return;
    }
    {
        const ScopedLock lock(instance->mutex);
        instance->filterWidth = clampWidth(filterWidth);
    }
    CGraphData_reset(instance);
}

void CGraphData_reset(CGraphData* instance) {
    const auto address = static_cast<unsigned>(reinterpret_cast<uintptr_t>(instance));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // the idle 0 flag belongs to the established text
    DIAGNOSTIC("enter: instance = %0.08x.\n", address);
#pragma GCC diagnostic pop
    const ScopedLock lock(instance->mutex);
    std::memset(instance->rawData, 0, sizeof instance->rawData);
    std::memset(instance->averageData, 0, sizeof instance->averageData);
    instance->count = 0;
}

void CGraphData_addItem(CGraphData* instance, float power_W) {
    if (std::isnan(power_W)) {
        return;
    }
    const ScopedLock lock(instance->mutex);
    if (instance->count >= graphRawCapacity) {
        return;
    }
    instance->rawData[instance->count] = {power_W, getTime_ms()};
    instance->count += 1;
    if (instance->count >= instance->filterWidth) {
        const uint32_t start = instance->count - instance->filterWidth;
        instance->averageData[start] = averageAt(instance, start);
    }
}

uint32_t CGraphData_getCount(CGraphData* instance, GraphDataMode_t mode) {
    const ScopedLock lock(instance->mutex);
    return countOf(instance, mode);
}

GraphDataItem CGraphData_getItem(CGraphData* instance, uint32_t index, GraphDataMode_t mode) {
    const ScopedLock lock(instance->mutex);
    return itemAt(instance, index, mode);
}

GraphDataItem CGraphData_getRawItem(const CGraphData* instance, uint32_t index) {
    return itemAt(instance, index, RawData);
}

GraphDataItem CGraphData_getFilterItem(const CGraphData* instance, uint32_t index) {
    return itemAt(instance, index, AveragedData);
}

float CGraphData_getMinValue(CGraphData* instance, GraphDataMode_t mode) {
    return foldPowers(instance, mode, FLT_MAX,
                      [](float least, float power) { return std::min(least, power); });
}

float CGraphData_getMaxValue(CGraphData* instance, GraphDataMode_t mode) {
    // Stays so: it starts from the smallest positive normal number, which is the maximum of a
    // history of zeros; existing test programs expect it
    // (docs/compatibility.md: maximum-of-zeros).
    return foldPowers(instance, mode, FLT_MIN,
                      [](float greatest, float power) { return std::max(greatest, power); });
}

void CGraphData_setFilterWidth(CGraphData* instance, uint32_t width) {
    const ScopedLock lock(instance->mutex);
    instance->filterWidth = clampWidth(width);
    const uint32_t averages = countOf(instance, AveragedData);
    for (uint32_t start = 0; start < averages; start += averageBlock) {
        averageMany(instance, start, std::min(averageBlock, averages - start));
    }
}

uint32_t CGraphData_copyPowers(CGraphData* instance, GraphDataMode_t mode, uint32_t first,
                               std::span<float> powers_W) {
    const ScopedLock lock(instance->mutex);
    const uint32_t count = countOf(instance, mode);
    if (first >= count) {
        return 0;
    }
    const GraphDataItem* const items = itemsOf(instance, mode) + first;
    const size_t copied = std::min<size_t>(count - first, powers_W.size());
    for (size_t i = 0; i < copied; ++i) {
        powers_W[i] = items[i].power;
    }
    return static_cast<uint32_t>(copied);
}

void CGraphData_getColumns(CGraphData* instance, GraphDataMode_t mode, uint32_t end,
                           uint32_t pointSpan, std::span<GraphColumn> columns) {
    const ScopedLock lock(instance->mutex);
    const uint32_t last = std::min(end, countOf(instance, mode));
    const std::span<const GraphDataItem> items(itemsOf(instance, mode), last);
    uint32_t begin = 0;
    for (size_t column = 0; column < columns.size(); ++column) {
        const uint32_t next =
            std::min(last, firstPointOfColumn(column + 1, pointSpan, columns.size()));
        columns[column] = gatherColumn(items.subspan(begin, next - begin));
        begin = next;
    }
}
