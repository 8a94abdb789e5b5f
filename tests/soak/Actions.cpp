#include "Actions.h"

#include "BenchText.h"
#include "LegacyCheck.h"
#include "RemoteCheck.h"
#include "SensorActions.h"
#include "SetupActions.h"
#include "TouchActions.h"

#include <array>
#include <numeric>

namespace {

bool burst(Soak& soak) {
    RemoteCheck_burst(soak);
    return true;
}

bool reconnect(Soak& soak) {
    Report_action(soak.report, "remote: new client", "hangs up and connects anew");
    RemoteCheck_reconnect(soak);
    return true;
}

/// The next client is served once the meter has found out that this one does not answer.
bool vanish(Soak& soak) {
    constexpr int limit_ms = 60000;
    Report_action(soak.report, "remote: vanished client", "is gone without a word");
    const bool hasVanished = soak.tcp.vanish();
    RemoteCheck_reconnect(soak);
    if (hasVanished) {
        const std::string reply = RemoteCheck_exchange(soak, soak.tcp, "*IDN?", limit_ms);
        if (!reply.empty() && reply != soak.identity) {
            Report_finding(soak.report, "place of a vanished client", "*IDN? answered " + reply);
        }
        Report_checked(soak.report, "place of a vanished client");
    }
    return hasVanished;
}

bool selectLegacy(Soak& soak) {
    if (soak.protocol != SoakProtocol::legacy) {
        return false;
    }
    LegacyCheck_select(soak);
    return true;
}

/// Nothing comes or goes for a while, so that all that is on the screen can be compared.
bool watch(Soak& soak) {
    constexpr int shortest_s = 10;
    constexpr int longest_s = 40;
    const double meter_s = Soak_pick(soak, shortest_s, longest_s);
    Report_action(soak.report, "watch", BenchText_format("for %g s", meter_s));
    soak.watchedUntil =
        SoakClock::now() + std::chrono::duration_cast<SoakClock::duration>(
                               std::chrono::duration<double>(meter_s / soak.truth.speed));
    return true;
}

/// What goes on while the screen is watched: readings change now and then, and pages are turned.
void doWhileWatching(Soak& soak) {
    switch (Soak_pick(soak, 0, 15)) {
    case 0:
        SensorActions_setPowers(soak);
        break;
    case 1:
        TouchActions_pulseTabs(soak);
        break;
    default:
        break;
    }
}

struct ActionRow {
    int weight;
    bool (*run)(Soak& soak); ///< false: not possible now
};

constexpr std::array<ActionRow, 27> actionRows{{
    {14, SensorActions_plug},
    {8, SensorActions_unplug},
    {2, SensorActions_replug},
    {16, SensorActions_setPowers},
    {3, SensorActions_setOther},
    {3, SensorActions_beginFault},
    {12, SensorActions_endFault},
    {8, TouchActions_scale},
    {4, TouchActions_units},
    {4, TouchActions_match},
    {4, TouchActions_settingsWindow},
    {4, TouchActions_dialogs},
    {2, TouchActions_graphDialog},
    {2, TouchActions_graphKeys},
    {2, TouchActions_pulseDialog},
    {2, TouchActions_pulseTabs},
    {3, SetupActions_pulseMode},
    {8, SetupActions_commit},
    {2, SetupActions_serialPort},
    {2, SetupActions_lan},
    {4, SetupActions_supply},
    {2, SetupActions_disk},
    {1, burst},
    {1, reconnect},
    {1, vanish},
    {4, selectLegacy},
    {5, watch},
}};

} // namespace

void Actions_do(Soak& soak) {
    if (SoakClock::now() < soak.watchedUntil) {
        doWhileWatching(soak);
        return;
    }
    constexpr int attempts = 20;
    const int sum = std::accumulate(actionRows.begin(), actionRows.end(), 0,
                                    [](int all, const ActionRow& row) { return all + row.weight; });
    for (int attempt = 0; attempt < attempts; ++attempt) {
        int picked = Soak_pick(soak, 1, sum);
        const ActionRow* row = actionRows.data();
        while ((picked -= row->weight) > 0) {
            ++row;
        }
        if (row->run(soak)) {
            return;
        }
    }
}

bool Actions_bringToRest(Soak& soak) {
    Report_action(soak.report, "rest", "every fault ends, every sensor is pulled");
    for (size_t port = 0; port < soakPortCount; ++port) {
        SensorActions_pull(soak, port);
    }
    const auto isAtRest = [&] {
        return !Bench_isVisible(soak.bench, "sensorSettingsDialog_ok") &&
               Bench_isVisible(soak.bench, "noConnection.title") &&
               Bench_labelText(soak.bench, "noConnection.title") == "No Sensor Detected";
    };
    const bool isThere = Bench_waitUntil(isAtRest, Soak_limit_ms(soak, soakTimes::layout));
    if (!isThere) {
        Report_finding(soak.report, "rest", "\"No Sensor Detected\" does not come");
    }
    return isThere;
}
