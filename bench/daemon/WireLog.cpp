#include "WireLog.h"

#include "BenchText.h"

namespace {

constexpr int64_t closely_ns = 6000000;
constexpr size_t longestEntry = 48;

WireEntry& append(WireLog& log, int64_t now_ns, bool toSensor) {
    if (log.entries.size() >= wireLogCapacity) {
        log.entries.pop_front();
    }
    return log.entries.emplace_back(WireEntry{++log.lastNumber, now_ns, now_ns, toSensor, {}});
}

bool isPrintable(char letter) {
    return letter >= ' ' && letter <= '~';
}

std::string byteText(const std::string& bytes) {
    std::string codes;
    std::string letters;
    for (const char byte : bytes) {
        codes += BenchText_format("%02x ", static_cast<unsigned>(static_cast<uint8_t>(byte)));
        letters += isPrintable(byte) ? byte : '.';
    }
    return codes + " " + letters;
}

std::string messageText(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (byte == '\n') {
            text += "\\n";
        } else if (isPrintable(byte)) {
            text += byte;
        } else {
            text += BenchText_format("\\x%02x", static_cast<unsigned>(static_cast<uint8_t>(byte)));
        }
    }
    return text;
}

} // namespace

void WireLog_add(WireLog& log, int64_t now_ns, bool toSensor, std::string_view bytes) {
    (toSensor ? log.bytesToSensor : log.bytesFromSensor) += bytes.size();
    const bool fits = !log.entries.empty() && log.entries.back().toSensor == toSensor &&
                      now_ns - log.entries.back().last_ns < closely_ns &&
                      log.entries.back().bytes.size() + bytes.size() <= longestEntry &&
                      !log.entries.back().bytes.starts_with('(');
    WireEntry& entry = fits ? log.entries.back() : append(log, now_ns, toSensor);
    entry.bytes += bytes;
    entry.last_ns = now_ns;
}

void WireLog_addMessage(WireLog& log, int64_t now_ns, bool toSensor, std::string_view message) {
    (toSensor ? log.bytesToSensor : log.bytesFromSensor) += message.size();
    append(log, now_ns, toSensor).bytes = message;
}

void WireLog_note(WireLog& log, int64_t now_ns, std::string_view words) {
    append(log, now_ns, false).bytes = "(" + std::string(words) + ")";
}

std::string WireLog_text(const WireLog& log, uint64_t after, bool asMessages) {
    std::string text;
    for (const WireEntry& entry : log.entries) {
        if (entry.number <= after) {
            continue;
        }
        const bool isNote = entry.bytes.starts_with('(');
        text += BenchText_format("%llu %.6f ", static_cast<unsigned long long>(entry.number),
                                 static_cast<double>(entry.time_ns) / 1e9);
        text += isNote ? "-- " : entry.toSensor ? "-> " : "<- ";
        text += isNote       ? entry.bytes
                : asMessages ? messageText(entry.bytes)
                             : byteText(entry.bytes);
        text += '\n';
    }
    return text;
}
