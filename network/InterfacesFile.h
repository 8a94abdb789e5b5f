#ifndef NETWORK_INTERFACES_FILE_H
#define NETWORK_INTERFACES_FILE_H

#include <optional>
#include <string>
#include <string_view>

/// The text of the system's network interfaces file. Pure functions: no file is touched here.

/// What the "inet" stanza of an interface says.
struct InterfaceStanza {
    int method;               ///< 0 = DHCP, 1 = static, -1 = something else, or no stanza
    std::string_view address; ///< the values of a static stanza, into the text; empty when missing
    std::string_view netmask;
    std::string_view gateway;
};

/// Finds an interface's stanza. A later one overrides an earlier one; lines with '#' are skipped.
InterfaceStanza InterfacesFile_read(std::string_view text, std::string_view name);

/// The lines of a stanza, an empty line last. The gateway is left out when it is empty.
std::string InterfacesFile_stanza(std::string_view name, bool isStatic, std::string_view address,
                                  std::string_view netmask, std::string_view gateway);

/// The text with the interface's "inet" stanza replaced; all else is kept byte for byte. Nothing if
/// the text has no such stanza.
std::optional<std::string> InterfacesFile_replace(std::string_view text, std::string_view name,
                                                  std::string_view stanza);

#endif
