#include "InstrumentIdentity.h"

#include "InstrumentFiles.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t lineSize = 128;
constexpr InstrumentIdentity defaultIdentity{"8830K", "00000000"};

InstrumentIdentity identity = defaultIdentity;

/// Takes the value behind `key` and one blank, if the line begins with them. A line without
/// trailing white space has one then.
template <size_t size> void readValue(const char* line, const char* key, char (&value)[size]) {
    const size_t keyLength = strlen(key);
    if (strncmp(line, key, keyLength) == 0 && line[keyLength] == ' ') {
        snprintf(value, size, "%.*s", static_cast<int>(size - 1), line + keyLength + 1);
    }
}

void cutTrailingWhiteSpace(char* line) {
    size_t length = strlen(line);
    while (length > 0 && strchr(" \t\r\n", line[length - 1]) != nullptr) {
        line[--length] = '\0';
    }
}

} // namespace

void InstrumentIdentity_read() {
    identity = defaultIdentity;
    FILE* file = fopen(identityFileName, "re");
    if (file == nullptr) {
        return;
    }
    std::array<char, lineSize> line{};
    while (fgets(line.data(), static_cast<int>(line.size()), file) != nullptr) {
        cutTrailingWhiteSpace(line.data());
        readValue(line.data(), "modelNumber", identity.modelNumber);
        readValue(line.data(), "serialNumber", identity.serialNumber);
    }
    fclose(file);
}

const InstrumentIdentity& InstrumentIdentity_get() {
    return identity;
}
