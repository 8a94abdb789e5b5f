#include "ScpiTriggeredGate.h"

#include "ScpiLink.h"

#include <algorithm>

size_t ScpiTriggeredGate_indexOf(std::string_view line) {
    constexpr std::string_view digits = "1234";
    while (!line.empty()) {
        const size_t end = std::min(line.find_first_of(":?"), line.size());
        const std::string_view piece = line.substr(0, end);
        if (piece.find("STAT") != std::string_view::npos) {
            for (size_t index = 0; index < digits.size(); ++index) {
                if (piece.find(digits[index]) != std::string_view::npos) {
                    return index;
                }
            }
        }
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return 0;
}

size_t getTiggeredGateIndex(const scpi_t* context) {
    return ScpiTriggeredGate_indexOf(ScpiLink_receivedLine(context));
}
