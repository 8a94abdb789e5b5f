#include "FirmwareVersion.h"

#include "message.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char* buildInformationFile = "/usr/local/etc/defconfig/buildInstalled";
constexpr const char* tag_label[TAG_LENGTH] = {"BUILD_DATE=", "BUILD_HOSTNAME=", "BUILD_UUID="};
constexpr size_t versionSize = 128;
constexpr int lineSize = 1024;
constexpr int tagLineSize = 64;

/// The value behind a key anywhere in the line; null if the line does not hold it.
char* valueOf(char* line, tag_id_t tag) {
    char* found = strstr(line, tag_label[tag]);
    return found == nullptr ? nullptr : found + strlen(tag_label[tag]);
}

/// 2024-10-10T18:59:38 as 2024-10-10 18:59:38, without the line's end.
void takeDate(char* version, char* date) {
    date[strcspn(date, "\r\n")] = '\0';
    char* separator = strchr(date, 'T');
    if (separator != nullptr) {
        *separator = ' ';
    }
    snprintf(version, versionSize, "%s", date);
}

void readVersion(FILE* file, char* version) {
    char line[lineSize];
    bool hasDate = false;
    while (fgets(line, lineSize, file) != nullptr) {
        char* value = valueOf(line, hasDate ? TAG_BUILD_UUID : TAG_BUILD_DATE);
        if (value == nullptr) {
            continue;
        }
        if (hasDate) {
            const size_t length = strlen(version);
            snprintf(version + length, versionSize - length, "  %s", value);
            return;
        }
        takeDate(version, value);
        hasDate = true;
    }
}

void cutTrailingSpace(char* version) {
    const size_t length = strlen(version);
    if (length > 0 && isspace(static_cast<unsigned char>(version[length - 1])) != 0) {
        version[length - 1] = '\0';
    }
}

template <size_t size> void takeTag(char (&text)[size], const char* line, tag_id_t tag) {
    const size_t length = strlen(tag_label[tag]);
    if (strncmp(line, tag_label[tag], length) == 0) {
        const size_t kept = std::min(strlen(line + length), size - 1);
        memcpy(text, line + length, kept);
        text[kept] = '\0';
    }
}

} // namespace

const char* getFwVersion() {
    thread_local char version[versionSize];
    snprintf(version, sizeof version, "%s: %s %s", "unknown", __DATE__, __TIME__);
    FILE* file = fopen(buildInformationFile, "re");
    if (file != nullptr) {
        readVersion(file, version);
        fclose(file);
    }
    cutTrailingSpace(version);
    return version;
}

version_t FirmwareVersion_readTags() {
    version_t version{};
    FILE* file = fopen(buildInformationFile, "re");
    if (file == nullptr) {
        DIAGNOSTIC("fopen %s errno=%d", buildInformationFile, errno);
        return version;
    }
    char line[tagLineSize];
    while (fgets(line, sizeof line, file) != nullptr) {
        line[strcspn(line, "\n")] = '\0';
        takeTag(version.build_date, line, TAG_BUILD_DATE);
        takeTag(version.build_hostname, line, TAG_BUILD_HOSTNAME);
        takeTag(version.build_uuid, line, TAG_BUILD_UUID);
    }
    fclose(file);
    return version;
}
