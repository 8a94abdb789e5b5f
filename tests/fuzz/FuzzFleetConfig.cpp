// The configuration file of the companion for many meters. What is refused is told in one line.

#include "FleetConfig.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FleetConfig config;
    std::string error;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const bool isRead = FleetConfig_parse(text, "fleet.toml", config, error);
    if (isRead != error.empty() || error.find('\n') != std::string::npos) {
        abort();
    }
    return 0;
}
