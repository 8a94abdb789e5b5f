#ifndef FLEET_CONFIG_TOML_ASCII_H
#define FLEET_CONFIG_TOML_ASCII_H

#include <string>
#include <string_view>

/// A configuration file in ASCII, line by line as it was.
struct TomlAscii {
    std::string text;           ///< up to what is complained of
    std::string_view complaint; ///< in one line; empty if nothing is wrong
};

/// The TOML library's tables of characters beyond ASCII have gaps in which its behaviour is
/// undefined, so it is given none: those between double quotes are escaped, those in comments left
/// out, and others are complained of, as are texts of several lines, which no key here needs.
TomlAscii TomlAscii_make(std::string_view text);

#endif
