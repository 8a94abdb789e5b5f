// The instrument's identity file: any bytes give two terminated texts, which are the defaults or
// stand in the file behind their keys.
#include "InstrumentIdentity.h"
#include "World.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr const char* identityFile = "/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf";

bool isFrom(const std::string& file, const std::string& key, const std::string& value,
            const char* standard) {
    return value == standard || file.find(key + " " + value) != std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string file(reinterpret_cast<const char*>(data), size);
    World_writeFile(identityFile, file);
    InstrumentIdentity_read();
    const InstrumentIdentity& identity = InstrumentIdentity_get();
    if (strnlen(identity.modelNumber, sizeof identity.modelNumber) == sizeof identity.modelNumber ||
        strnlen(identity.serialNumber, sizeof identity.serialNumber) ==
            sizeof identity.serialNumber ||
        identity.modelNumber[0] == '\0' || identity.serialNumber[0] == '\0' ||
        !isFrom(file, "modelNumber", identity.modelNumber, "8830K") ||
        !isFrom(file, "serialNumber", identity.serialNumber, "00000000")) {
        abort();
    }
    return 0;
}
