#ifndef REMOTE_FIRMWARE_VERSION_H
#define REMOTE_FIRMWARE_VERSION_H

/// The firmware's version, from the build information that is installed with it: lines of key,
/// equals sign, value.

/// Keys of the build information.
enum tag_id_t : int {
    TAG_BUILD_DATE = 0,
    TAG_BUILD_HOSTNAME = 1,
    TAG_BUILD_UUID = 2,
    TAG_LENGTH = 3
};

/// Build date and identifier, at most 127 characters; "unknown" and the program's own build date
/// and time where the file is missing. In a buffer of the calling thread, rebuilt on each call.
const char* getFwVersion();

/// The values as the older meter's protocol tells them, cut to fit.
struct version_t {
    char build_date[32];
    char build_hostname[32];
    char build_uuid[48];
};

/// Reads them anew; empty texts for what is missing, with a diagnostic where the file is.
version_t FirmwareVersion_readTags();

#endif
