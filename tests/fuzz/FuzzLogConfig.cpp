// The trace's configuration file: any bytes switch on only categories that they name.
#include "LogManager.h"
#include "NamedCategories.h"
#include "World.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// The trace goes to a file in memory from now on.
bool prepare() {
    if (World_folder().empty()) {
        abort();
    }
    const int trace = memfd_create("trace", MFD_CLOEXEC);
    dup2(trace, STDOUT_FILENO);
    close(trace);
    LogManager_create();
    World_writeFile("/tmp/debug", "");
    return true;
}

off_t traced() {
    while (!LogManager_flush()) {
    }
    return lseek(STDOUT_FILENO, 0, SEEK_CUR);
}

bool isOn(unsigned category) {
    const off_t before = traced();
    logManager_printToLog(category, "%u", category);
    return traced() != before;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool isPrepared = prepare();
    if (!isPrepared) {
        return 0;
    }
    const std::string file(reinterpret_cast<const char*>(data), size);
    World_writeFile("/tmp/logConfig", file);
    LogManager_route();
    for (unsigned category = 0; category <= CategoryCount; ++category) {
        const bool isNamed = std::ranges::any_of(namedCategories, [&](const NamedCategory& row) {
            return row.category == category && file.find(row.name) != std::string::npos;
        });
        if (isOn(category) && !isNamed) {
            abort();
        }
    }
    // A message of any text is written as it is, but for its doubled percent signs.
    const std::string text = file.substr(0, file.find('\0'));
    logManager_log_out(text.c_str());
    if (traced() > (off_t{1} << 24) && ftruncate(STDOUT_FILENO, 0) == 0) {
        lseek(STDOUT_FILENO, 0, SEEK_SET);
    }
    return 0;
}
