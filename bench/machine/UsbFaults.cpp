#include "UsbFaults.h"

#include "BenchText.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::array<const char*, wireFaultCount> names = {
    "nakin",   "nakout",   "nakcontrol", "stallin", "stallout", "stallclear", "pendclear",
    "short",   "empty",    "badtag",     "badid",   "toolong",  "cut",        "babble",
    "noisein", "noiseout", "lost",       "pullin",  "pullout"};

constexpr std::string_view aimWord = "on=";

} // namespace

bool UsbFaults_set(UsbFaults& faults, std::string_view words) {
    const auto parts = BenchText_words(words);
    const auto* found =
        parts.empty() ? names.end() : std::ranges::find(names, parts[0], [](const char* name) {
            return std::string_view(name);
        });
    if (found == names.end()) {
        return false;
    }
    AimedFault fault{1, {}};
    for (size_t at = 1; at < parts.size(); ++at) {
        const auto number = BenchText_number(parts[at]);
        if (parts[at].starts_with(aimWord)) {
            const auto aim = static_cast<size_t>(parts[at].data() - words.data()) + aimWord.size();
            fault.aim = words.substr(aim);
            break;
        }
        if (parts[at] == "forever") {
            fault.left = -1;
        } else if (number && *number >= 1) {
            fault.left = static_cast<int64_t>(*number);
        } else {
            return false;
        }
    }
    faults.faults.at(static_cast<size_t>(found - names.begin())) = fault;
    return true;
}

void UsbFaults_clear(UsbFaults& faults) {
    faults.faults.fill({});
}

bool UsbFaults_strikes(UsbFaults& faults, UsbWireFault fault) {
    AimedFault& aimed = faults.faults.at(fault);
    if (aimed.left == 0 || !faults.message.starts_with(aimed.aim)) {
        return false;
    }
    aimed.left -= aimed.left > 0 ? 1 : 0;
    return true;
}

std::string UsbFaults_describe(const UsbFaults& faults) {
    std::string text;
    for (size_t at = 0; at < names.size(); ++at) {
        if (faults.faults.at(at).left != 0) {
            text += (text.empty() ? "" : " ") + std::string(names.at(at));
        }
    }
    return text.empty() ? "none" : text;
}

std::string UsbFaults_names() {
    return BenchText_list({names.begin(), names.end()});
}
