#include "GzipText.h"

#include <zlib.h>

namespace {

constexpr int gzipFormat = 16; ///< beside the size of the window
constexpr int usualMemory = 8;

} // namespace

std::string GzipText_make(std::string_view text) {
    z_stream stream{};
    // Lines repeat one another: more effort takes thrice the time for a tenth less.
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, MAX_WBITS + gzipFormat, usualMemory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        return {};
    }
    std::string packed(deflateBound(&stream, text.size()), '\0');
    std::string input(text); // the library's interface wants no constant
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const bool isWhole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    packed.resize(isWhole ? stream.total_out : 0);
    deflateEnd(&stream);
    return packed;
}
