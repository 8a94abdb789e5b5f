#ifndef BENCH_CLIENT_BENCH_POINTER_H
#define BENCH_CLIENT_BENCH_POINTER_H

#include <string>

/// A finger on the screen: real X events, as a touch screen's driver makes them.

/// Touches a point for a short moment. On failure returns false and says why.
bool BenchPointer_tap(const std::string& display, int x, int y, std::string& error);

/// Touches, moves and lets go.
bool BenchPointer_drag(const std::string& display, int fromX, int fromY, int toX, int toY,
                       std::string& error);

/// Saves the whole screen as a PNG file.
bool BenchPointer_savePicture(const std::string& display, const std::string& file,
                              std::string& error);

#endif
