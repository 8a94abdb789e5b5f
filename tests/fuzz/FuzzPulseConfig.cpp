// The stored pulse configuration: any bytes are refused or give a record whose text is read back
// the same.
#include "PulseConfigText.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto configs = PulseConfigText_parse({reinterpret_cast<const char*>(data), size});
    if (!configs.has_value()) {
        return 0;
    }
    const std::string text = PulseConfigText_compose(*configs);
    const auto again = PulseConfigText_parse(text);
    if (configs->numStates > 4 || !again.has_value() || PulseConfigText_compose(*again) != text) {
        abort();
    }
    return 0;
}
