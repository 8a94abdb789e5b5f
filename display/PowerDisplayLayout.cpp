#include "PowerDisplayLayout.h"

namespace {

/// The title row is the same on all screens, so that nothing jumps when another one comes.
constexpr GdkRectangle titleKey = {8, 0, 936, 52};
constexpr GdkRectangle configKey = {952, 0, 64, 52};

} // namespace

// clang-format off
const std::array<PowerDisplayLayout, 4> gtkPowerDisplayLayout = {{
    // layoutSingleChannel: two powers across the whole screen.
    {.sensorButton = titleKey,
     .configButton = configKey,
     .titleSize = 30,
     .power = {.height = 236,
               .caption = {16, 0, 160, 48}, .value = {8, 48, 784, 184}, .units = {804, 92, 100, 96},
               .scale = {920, 4, 88, 232},
               .captionSize = 40, .valueSize = 180, .unitsSize = 46},
     .match = {.height = 100,
               .caption = {16, 10, 176, 80}, .value = {300, 0, 492, 100}, .units = {804, 10, 100, 80},
               .scale = {},
               .captionSize = 40, .valueSize = 104, .unitsSize = 46},
     .scaleButtons = {.up = {0, 0, 88, 72}, .down = {0, 160, 88, 72}, .automatic = {0, 80, 88, 72}},
     .graph = {},
     .yLinePositions = {8, 84, 330, 578, 0, 0}},
    // layoutSingleChannelWithGraph: the powers above, the graph across the lower part.
    {.sensorButton = titleKey,
     .configButton = configKey,
     .titleSize = 30,
     .power = {.height = 124,
               .caption = {16, 34, 104, 56}, .value = {124, 0, 572, 124}, .units = {708, 22, 100, 80},
               .scale = {820, 22, 196, 80},
               .captionSize = 38, .valueSize = 124, .unitsSize = 36},
     .match = {.height = 68,
               .caption = {16, 4, 150, 60}, .value = {376, 0, 320, 68}, .units = {708, 4, 100, 60},
               .scale = {},
               .captionSize = 38, .valueSize = 66, .unitsSize = 36},
     .scaleButtons = {.up = {0, 0, 60, 80}, .down = {136, 0, 60, 80}, .automatic = {68, 0, 60, 80}},
     .graph = {8, 400, 1008, 284},
     .yLinePositions = {8, 68, 196, 326, 400, 0}},
    // layoutDualChannel: half the height, the whole width.
    {.sensorButton = titleKey,
     .configButton = configKey,
     .titleSize = 30,
     .power = {.height = 106,
               .caption = {16, 28, 104, 50}, .value = {124, -7, 548, 106}, .units = {684, 14, 100, 78},
               .scale = {796, 14, 220, 78},
               .captionSize = 36, .valueSize = 104, .unitsSize = 38},
     .match = {.height = 58,
               .caption = {16, 3, 140, 52}, .value = {352, -2, 320, 58}, .units = {684, 3, 100, 52},
               .scale = {},
               .captionSize = 34, .valueSize = 66, .unitsSize = 36},
     .scaleButtons = {.up = {0, 0, 68, 78}, .down = {152, 0, 68, 78}, .automatic = {76, 0, 68, 78}},
     .graph = {},
     .yLinePositions = {8, 67, 173, 281, 0, 0}},
    // layoutDualChannelWithGraph: values on the left, the graph on the right.
    {.sensorButton = titleKey,
     .configButton = configKey,
     .titleSize = 30,
     .power = {.height = 112,
               .caption = {8, 0, 84, 24}, .value = {0, 24, 336, 80}, .units = {352, 0, 196, 48},
               .scale = {352, 56, 196, 48},
               .captionSize = 24, .valueSize = 80, .unitsSize = 28},
     .match = {.height = 48,
               .caption = {8, 0, 100, 48}, .value = {118, 0, 218, 48}, .units = {352, 0, 196, 48},
               .scale = {},
               .captionSize = 26, .valueSize = 50, .unitsSize = 28},
     .scaleButtons = {.up = {0, 0, 60, 48}, .down = {136, 0, 60, 48}, .automatic = {68, 0, 60, 48}},
     .graph = {556, 68, 460, 272},
     .yLinePositions = {8, 68, 180, 292, 68, 0}},
}};
// clang-format on
