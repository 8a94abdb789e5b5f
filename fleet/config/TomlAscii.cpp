#include "TomlAscii.h"

#include "FleetText.h"

#include <array>
#include <cstdio>

namespace {

enum class Place { code, comment, quoted, literal };

bool isAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

/// The escape of a valid character of more than one byte.
std::string escaped(std::string_view character) {
    const unsigned leadBits = 0xffU >> (character.size() + 1);
    unsigned code = static_cast<unsigned char>(character.front()) & leadBits;
    for (const char byte : character.substr(1)) {
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3fU);
    }
    std::array<char, 16> text{};
    snprintf(text.data(), text.size(), "\\U%08X", code);
    return text.data();
}

/// Where the reader is behind an ASCII character of the line.
Place behind(Place place, char c) {
    if (c == '\n') {
        return Place::code;
    }
    switch (place) {
    case Place::code:
        return c == '#'    ? Place::comment
               : c == '"'  ? Place::quoted
               : c == '\'' ? Place::literal
                           : place;
    case Place::quoted:
        return c == '"' ? Place::code : place;
    case Place::literal:
        return c == '\'' ? Place::code : place;
    case Place::comment:
        break;
    }
    return place;
}

/// Takes the character beyond ASCII at the front; its bytes, 0 if it does not belong there.
size_t takeBeyond(TomlAscii& ascii, Place place, std::string_view rest) {
    if (place == Place::comment) {
        ascii.text += '?';
        return 1;
    }
    const size_t length = place == Place::quoted ? FleetText_characterLength(rest) : 0;
    if (length == 0) {
        ascii.complaint = "a character beyond ASCII stands between double quotes only";
    } else {
        ascii.text += escaped(rest.substr(0, length));
    }
    return length;
}

/// Takes the ASCII characters at the front that belong together: an escape is one. Their number, 0
/// if there is a complaint.
size_t takeAscii(TomlAscii& ascii, Place place, std::string_view rest) {
    const std::string_view three = rest.substr(0, 3);
    if (place == Place::code && (three == R"(""")" || three == "'''")) {
        ascii.complaint = "a text of several lines, which nothing here needs";
        return 0;
    }
    const bool isEscape = place == Place::quoted && rest[0] == '\\' && rest.size() > 1;
    if (isEscape && !isAscii(rest[1])) {
        ascii.complaint = "an escape of a character beyond ASCII";
        return 0;
    }
    const size_t length = isEscape && rest[1] != '\n' ? 2 : 1;
    ascii.text += rest.substr(0, length);
    return length;
}

} // namespace

TomlAscii TomlAscii_make(std::string_view text) {
    TomlAscii ascii;
    Place place = Place::code;
    while (!text.empty()) {
        const bool isEscape = place == Place::quoted && text[0] == '\\';
        const size_t taken =
            isAscii(text[0]) ? takeAscii(ascii, place, text) : takeBeyond(ascii, place, text);
        if (taken == 0) {
            break;
        }
        place = isEscape ? place : behind(place, text[0]);
        text.remove_prefix(taken);
    }
    return ascii;
}
