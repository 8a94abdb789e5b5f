#ifndef DISPLAY_MODEL_CGRAPH_DATA_H
#define DISPLAY_MODEL_CGRAPH_DATA_H

#include <cstdint>
#include <pthread.h>
#include <span>

/// One display's history: a day of samples, one a second, and their moving average. The buffer
/// fills from the start and stops accepting samples when it is full.

constexpr uint32_t graphMaxPoints = 86400;
constexpr uint32_t graphMinFilterWidth = 2;
constexpr uint32_t graphMaxFilterWidth = 64;
constexpr uint32_t graphRawCapacity = graphMaxPoints + graphMaxFilterWidth - 1;
constexpr uint32_t graphAverageCapacity = 86500;

struct GraphDataItem {
    float power;        ///< W
    uint32_t timestamp; ///< getTime_ms()
};

enum GraphDataMode_t : int { RawData = 0, AveragedData = 1 };

struct CGraphData {
    pthread_mutex_t mutex; ///< guards everything below
    uint32_t count;
    uint32_t filterWidth; ///< 2 to 64
    GraphDataItem rawData[graphRawCapacity];
    GraphDataItem averageData[graphAverageCapacity];
};

/// The points that fall into one pixel column, in the buffer's unit (W). A column without points
/// has a count of 0 and no meaningful values.
struct GraphColumn {
    uint32_t count;
    float first; ///< oldest
    float last;  ///< newest
    float least;
    float greatest;
};

/// Initialises the mutex, clamps the width and empties the buffer. A failure is logged and leaves
/// the buffer as it was. The record is zeroed before its first creation; one that exists already
/// keeps its mutex, so that it can be created anew while threads use it.
void CGraphData_create(CGraphData* instance, uint32_t filterWidth);

/// Empties the buffer; the width is kept. Any thread.
void CGraphData_reset(CGraphData* instance);

/// Appends one sample; NaN is ignored, and so is a sample for a full buffer. Any thread.
void CGraphData_addItem(CGraphData* instance, float power_W);

/// Number of points that a mode offers. Any thread.
uint32_t CGraphData_getCount(CGraphData* instance, GraphDataMode_t mode);

/// One point, {NaN, 0} beyond the end. Any thread.
GraphDataItem CGraphData_getItem(CGraphData* instance, uint32_t index, GraphDataMode_t mode);

/// The same without the lock, for a caller that holds it.
GraphDataItem CGraphData_getRawItem(const CGraphData* instance, uint32_t index);
GraphDataItem CGraphData_getFilterItem(const CGraphData* instance, uint32_t index);

/// Least and greatest value of a mode, NaN when it has none. In averaged mode the newest average is
/// left out: existing test programs know it so (docs/compatibility.md: newest-average). Any thread.
float CGraphData_getMinValue(CGraphData* instance, GraphDataMode_t mode);
float CGraphData_getMaxValue(CGraphData* instance, GraphDataMode_t mode);

/// Changes the width (clamped to 2..64) and recomputes all averages. Any thread.
void CGraphData_setFilterWidth(CGraphData* instance, uint32_t width);

/// Copies the points from index `first` on, as many as there are and fit, under one lock. Returns
/// how many were copied. Any thread.
uint32_t CGraphData_copyPowers(CGraphData* instance, GraphDataMode_t mode, uint32_t first,
                               std::span<float> powers_W);

/// Gathers the points before index `end` into columns under one lock, `pointSpan` points spread
/// over all columns: point i falls into column i x columns / pointSpan (whole number), and points
/// beyond the last column are left out. Any thread.
void CGraphData_getColumns(CGraphData* instance, GraphDataMode_t mode, uint32_t end,
                           uint32_t pointSpan, std::span<GraphColumn> columns);

#endif
