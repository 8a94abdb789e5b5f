#include "MeterPicture.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace {

constexpr size_t largestPicture = 4 << 20;
constexpr size_t longestRest = 1024; ///< behind it: the end of its line, and the identity
constexpr std::string_view blockBegin = "1;#";
constexpr ptrdiff_t answerLines = 2;

/// The number that stands at a place; nothing if there is none.
std::optional<size_t> numberAt(std::string_view text, size_t at, size_t digits) {
    size_t number = 0;
    const char* end = text.data() + at + digits;
    const auto [rest, failure] = std::from_chars(text.data() + at, end, number);
    return failure == std::errc{} && rest == end ? std::optional(number) : std::nullopt;
}

/// Both lines are there, and nothing more.
bool isEnded(std::string_view text) {
    return std::ranges::count(text, '\n') >= answerLines && text.ends_with('\n');
}

/// An answer without a picture.
MeterPictureStep takeNone(std::string_view text) {
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    if (line != std::string_view("1;").substr(0, line.size()) || text.size() > longestRest) {
        return MeterPictureStep::broken;
    }
    return isEnded(text) ? MeterPictureStep::none : MeterPictureStep::waits;
}

/// "1;#552412" and so many bytes.
MeterPictureStep takeBlock(std::string_view text, std::string& png) {
    const size_t digitsAt = blockBegin.size();
    if (text.size() <= digitsAt) {
        return MeterPictureStep::waits;
    }
    const std::optional<size_t> digits = numberAt(text, digitsAt, 1);
    if (!digits || *digits == 0) {
        return MeterPictureStep::broken;
    }
    const size_t begin = digitsAt + 1 + *digits;
    if (text.size() < begin) {
        return MeterPictureStep::waits;
    }
    const std::optional<size_t> size = numberAt(text, digitsAt + 1, *digits);
    if (!size || *size > largestPicture || text.size() > begin + *size + longestRest) {
        return MeterPictureStep::broken;
    }
    if (text.size() < begin + *size || !isEnded(text.substr(begin + *size))) {
        return MeterPictureStep::waits;
    }
    png = text.substr(begin, *size);
    return MeterPictureStep::done;
}

} // namespace

std::string MeterPicture_request() {
    return "*OPC?;:HCOP:SDUM:DATA?\n*IDN?\n";
}

MeterPictureStep MeterPicture_receive(MeterPicture& picture, std::string_view bytes,
                                      std::string& png) {
    picture.received += bytes;
    return picture.received.starts_with(blockBegin) ? takeBlock(picture.received, png)
                                                    : takeNone(picture.received);
}
