// The network interfaces file: any bytes can be read, and a stanza that is replaced can be read
// back; replacing it twice is the same as replacing it once.
#include "InterfacesFile.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string stanza =
        InterfacesFile_stanza("eth0", true, "10.0.0.5", "255.0.0.0", "10.0.0.1");
    InterfacesFile_read(text, "eth0");
    const auto once = InterfacesFile_replace(text, "eth0", stanza);
    if (!once) {
        return 0;
    }
    const size_t at = once->find(stanza);
    if (at == std::string::npos || text.substr(0, at) != once->substr(0, at) ||
        !text.ends_with(once->substr(at + stanza.size())) ||
        InterfacesFile_replace(*once, "eth0", stanza) != once) {
        abort();
    }
    return 0;
}
