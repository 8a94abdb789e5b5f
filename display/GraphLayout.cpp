#include "GraphLayout.h"

// clang-format off
const GraphLayout_t graphLayoutLarge = {
    .containerDimensions = {0, 0, 1008, 284},
    .powerMax = {0, 0, 168, 30},
    .powerLabel = {0, 86, 168, 64},
    .powerMode = {900, 0, 108, 80},
    .powerMin = {0, 220, 168, 30},
    .autoScale = {900, 86, 108, 80},
    .timeMin = {176, 254, 80, 30},
    .timeLabel = {416, 254, 240, 30},
    .timeMax = {816, 254, 80, 30},
    .clearGraph = {900, 172, 108, 80},
    .drawingArea = {176, 0, 716, 250},
    .labelSize = 24,
    .buttonSize = 24,
};

const GraphLayout_t graphLayoutSmall = {
    .containerDimensions = {0, 0, 460, 330},
    .powerMax = {0, 58, 108, 26},
    .powerLabel = {0, 0, 156, 52},
    .powerMode = {162, 0, 74, 52},
    .powerMin = {0, 272, 108, 26},
    .autoScale = {242, 0, 104, 52},
    .timeMin = {112, 302, 60, 28},
    .timeLabel = {196, 302, 180, 28},
    .timeMax = {380, 302, 80, 28},
    .clearGraph = {352, 0, 108, 52},
    .drawingArea = {112, 58, 348, 240},
    .labelSize = 20,
    .buttonSize = 20,
};
// clang-format on
