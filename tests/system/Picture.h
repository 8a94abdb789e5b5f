#ifndef TESTS_SYSTEM_PICTURE_H
#define TESTS_SYSTEM_PICTURE_H

#include <cstdint>
#include <string_view>
#include <vector>

/// The pixels of a PNG file.

struct Picture {
    int width; ///< 0 for what is no picture
    int height;
    std::vector<uint32_t> pixels; ///< 0xRRGGBB, row by row

    bool operator==(const Picture&) const = default;
};

Picture Picture_read(std::string_view png);

#endif
