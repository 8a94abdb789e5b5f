#include "GraphLayout.h"

// The lines of minimum and maximum go through the middle of their captions.
// clang-format off
const GraphLayout_t graphLayoutLarge = {
    .containerDimensions = {0, 0, 1008, 284},
    .powerMax = {0, 0, 168, 30},
    .powerLabel = {0, 86, 168, 64},
    .powerMode = {900, 0, 108, 80},
    .powerMin = {0, 232, 168, 30},
    .autoScale = {900, 88, 108, 80},
    .timeMin = {176, 254, 80, 30},
    .timeLabel = {416, 254, 240, 30},
    .timeMax = {816, 254, 80, 30},
    .clearGraph = {900, 176, 108, 80},
    .drawingArea = {176, 13, 716, 236},
    .labelSize = 24,
    .buttonSize = 24,
};

const GraphLayout_t graphLayoutSmall = {
    .containerDimensions = {0, 0, 460, 272},
    .powerMax = {0, 56, 108, 26},
    .powerLabel = {0, 0, 150, 48},
    .powerMode = {158, 0, 72, 48},
    .powerMin = {0, 226, 108, 26},
    .autoScale = {238, 0, 104, 48},
    .timeMin = {112, 244, 60, 28},
    .timeLabel = {196, 244, 180, 28},
    .timeMax = {380, 244, 80, 28},
    .clearGraph = {350, 0, 110, 48},
    .drawingArea = {112, 67, 348, 174},
    .labelSize = 20,
    .buttonSize = 20,
};
// clang-format on
