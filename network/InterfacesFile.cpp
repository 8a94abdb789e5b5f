#include "InterfacesFile.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr int longestStaticBlock = 3; // address, netmask and gateway

/// Words that open a stanza, or stand by themselves between two.
constexpr std::array<std::string_view, 9> stanzaWords = {
    "iface",    "auto",   "mapping",      "source",    "source-directory",
    "template", "rename", "no-auto-down", "no-scripts"};
constexpr std::string_view allowPrefix = "allow-"; // "allow-hotplug" and its like

/// Cuts the first word off a text.
std::string_view takeWord(std::string_view& text) {
    const size_t start = std::min(text.find_first_not_of(blanks), text.size());
    const size_t end = std::min(text.find_first_of(blanks, start), text.size());
    const std::string_view word = text.substr(start, end - start);
    text.remove_prefix(end);
    return word;
}

std::string_view firstWord(std::string_view line) {
    return takeWord(line);
}

/// Cuts the first line, its end included, off a text.
std::string_view takeLine(std::string_view& text) {
    const size_t end = text.find('\n');
    const size_t length = end == std::string_view::npos ? text.size() : end + 1;
    const std::string_view line = text.substr(0, length);
    text.remove_prefix(length);
    return line;
}

bool isComment(std::string_view line) {
    return line.find('#') != std::string_view::npos;
}

bool isEmpty(std::string_view line) {
    return firstWord(line).empty();
}

bool opensStanza(std::string_view line) {
    const std::string_view word = firstWord(line);
    return !isComment(line) &&
           (std::find(stanzaWords.begin(), stanzaWords.end(), word) != stanzaWords.end() ||
            word.substr(0, allowPrefix.size()) == allowPrefix);
}

bool opensStanzaOf(std::string_view line, std::string_view name) {
    return !isComment(line) && takeWord(line) == "iface" && takeWord(line) == name &&
           takeWord(line) == "inet";
}

/// The text behind the stanza whose first line has just been taken. Options belong to the stanza,
/// comments only while no empty line separates them from it, empty lines behind it always: the new
/// stanza brings its own.
std::string_view skipStanza(std::string_view text) {
    std::string_view rest = text;
    bool isSeparated = false;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (opensStanza(line)) {
            break;
        }
        if (isEmpty(line)) {
            isSeparated = true;
        } else if (!isComment(line)) {
            isSeparated = false;
            rest = text;
        } else if (!isSeparated) {
            rest = text;
        }
    }
    while (!rest.empty()) {
        std::string_view behind = rest;
        if (!isEmpty(takeLine(behind))) {
            break;
        }
        rest = behind;
    }
    return rest;
}

int methodOf(std::string_view word) {
    if (word == "dhcp") {
        return 0;
    }
    return word == "static" ? 1 : -1;
}

std::string_view* valueOf(InterfaceStanza& stanza, std::string_view key) {
    if (key == "address") {
        return &stanza.address;
    }
    if (key == "netmask") {
        return &stanza.netmask;
    }
    return key == "gateway" ? &stanza.gateway : nullptr;
}

/// Takes up to three lines of key and value. Any other line ends this and is left for the caller.
void takeStaticBlock(std::string_view& text, InterfaceStanza& stanza) {
    for (int count = 0; count < longestStaticBlock && !text.empty();) {
        std::string_view rest = text;
        std::string_view line = takeLine(rest);
        if (!isComment(line)) {
            std::string_view* value = valueOf(stanza, takeWord(line));
            if (value == nullptr) {
                return;
            }
            *value = takeWord(line);
            ++count;
        }
        text = rest;
    }
}

} // namespace

InterfaceStanza InterfacesFile_read(std::string_view text, std::string_view name) {
    InterfaceStanza stanza{-1, {}, {}, {}};
    while (!text.empty()) {
        std::string_view line = takeLine(text);
        if (isComment(line)) {
            continue;
        }
        takeWord(line); // whatever the first and the third word are
        const bool isNamed = takeWord(line) == name;
        takeWord(line);
        const std::string_view method = takeWord(line);
        if (!isNamed || method.empty()) {
            continue;
        }
        stanza = {methodOf(method), {}, {}, {}};
        if (stanza.method == 1) {
            takeStaticBlock(text, stanza);
        }
    }
    return stanza;
}

std::string InterfacesFile_stanza(std::string_view name, bool isStatic, std::string_view address,
                                  std::string_view netmask, std::string_view gateway) {
    std::string stanza = "iface ";
    stanza.append(name).append(isStatic ? " inet static\n" : " inet dhcp\n");
    if (isStatic) {
        stanza.append("    address ").append(address).append("\n");
        stanza.append("    netmask ").append(netmask).append("\n");
        if (!gateway.empty()) {
            stanza.append("    gateway ").append(gateway).append("\n");
        }
    }
    return stanza.append("\n");
}

std::optional<std::string> InterfacesFile_replace(std::string_view text, std::string_view name,
                                                  std::string_view stanza) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view head = text.substr(0, text.size() - rest.size());
        if (opensStanzaOf(takeLine(rest), name)) {
            std::string result(head);
            result.append(stanza).append(skipStanza(rest));
            return result;
        }
    }
    return std::nullopt;
}
