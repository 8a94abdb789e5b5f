#ifndef DISPLAY_SCREEN_SIZE_H
#define DISPLAY_SCREEN_SIZE_H

/// The instrument's screen, in pixels: the status line across the top, below it one full screen or
/// two halves.

constexpr int screenWidth = 1024;
constexpr int screenHeight = 768;
constexpr int topLineHeight = 80;
constexpr int halfScreenHeight = 344;
static_assert(topLineHeight + 2 * halfScreenHeight == screenHeight);

#endif
