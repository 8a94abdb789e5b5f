#include "BenchChannel.h"

#include "LocalSocket.h"

#include <string_view>

namespace {

constexpr int limit_ms = 30000; ///< a machine may stand still for more than ten seconds

} // namespace

bool BenchChannel_command(const std::string& world, const std::string& line, std::string& text) {
    constexpr std::string_view accepted = "ok\n";
    constexpr std::string_view refused = "error ";
    std::string answer;
    if (!LocalSocket_ask(world + "/daemon.sock", line, limit_ms, answer)) {
        text = "no bench answers in " + world;
        return false;
    }
    if (answer.starts_with(accepted)) {
        text = answer.substr(accepted.size());
        return true;
    }
    text = answer.starts_with(refused) ? answer.substr(refused.size()) : answer;
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    return false;
}
