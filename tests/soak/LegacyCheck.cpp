#include "LegacyCheck.h"

#include "BenchText.h"
#include "ExpectedTexts.h"

#include <algorithm>

namespace {

std::string status0(const Soak& soak) {
    const std::string range =
        soak.legacyRange < 0 ? "RYY" : BenchText_format("R%02d", soak.legacyRange);
    return std::string(" 6610 ") + (soak.legacyReflected ? " RC" : " FC") + range + "PYYT" +
           (soak.legacyTrigger5 ? "T5" : "T1") + "XF\r\n";
}

/// The sensor of the first display that has one; -1 when it cannot be told for certain.
int answeringPort(const Soak& soak) {
    if (!Truth_isLayoutSettled(soak.truth)) {
        return -1;
    }
    const int first = Truth_portOfChannel(soak.truth, 0);
    const int port = first >= 0 ? first : Truth_portOfChannel(soak.truth, 1);
    const bool isMeasuring = port >= 0 &&
                             Truth_mustMeasure(soak.truth, static_cast<size_t>(port)) &&
                             soak.truth.ports.at(static_cast<size_t>(port)).isTitleKnown;
    return isMeasuring ? port : -1;
}

void compare(Soak& soak, const std::string& kind, const std::string& sent,
             const std::vector<std::string>& expected) {
    const auto line = soak.terminal.readLine(soakReplyLimit_ms);
    if (!line) {
        Report_finding(soak.report, "lost reply of the older protocol", sent);
    } else if (std::ranges::find(expected, *line) == expected.end()) {
        std::string list;
        for (const std::string& text : expected) {
            list += " \"" + text.substr(0, text.size() - 2) + "\"";
        }
        Report_finding(soak.report, "reply " + kind,
                       sent + " answered \"" + line->substr(0, line->find('\r')) +
                           "\", not any of" + list);
    }
    Report_checked(soak.report, "reply " + kind);
}

void askStatus(Soak& soak) {
    const struct {
        const char* sent;
        std::string reply;
    } rows[] = {{"U0", status0(soak)},
                {"U1", " 6610  VCM VCO FL \r\n"},
                {"U2", " 6610   0100 RS232\r\n"},
                {"J0U1", " 6610  VCM VCO PS \r\n"},
                {"R18U1", " 6610  VCM ICO FL \r\n"},
                {"?U1", " 6610  ICM VCO FL \r\n"}};
    const auto& row = rows[Soak_pick(soak, 0, static_cast<int>(std::size(rows)) - 1)];
    soak.terminal.send(row.sent);
    compare(soak, "status of the older protocol", row.sent, {row.reply});
}

std::vector<std::string> expectedReadings(Soak& soak, size_t port) {
    const PortTruth& sensor = soak.truth.ports.at(port);
    const int range = soak.legacyRange < 0   ? -1
                      : soak.legacyReflected ? std::max(0, soak.legacyRange - 1)
                                             : soak.legacyRange;
    std::vector<std::string> expected;
    for (const TruthValue& value : Truth_shownValues(soak.truth, port)) {
        const auto more = ExpectedTexts_legacy(
            soak.legacyReflected ? value.reflected_W : value.forward_W,
            soak.legacyReflected ? "RC" : "FC", sensor.max_W, sensor.min_W, range);
        expected.insert(expected.end(), more.begin(), more.end());
    }
    return expected;
}

} // namespace

void LegacyCheck_ask(Soak& soak) {
    const int port = answeringPort(soak);
    if (port < 0 || Soak_pick(soak, 0, 3) == 0) {
        askStatus(soak);
        return;
    }
    // With trigger 5, a reading wants a selection before it.
    const std::string sent = std::string(!soak.legacyTrigger5   ? ""
                                         : soak.legacyReflected ? "RC"
                                                                : "FC") +
                             "ENT";
    const auto before = expectedReadings(soak, static_cast<size_t>(port));
    soak.terminal.send(sent);
    auto expected = expectedReadings(soak, static_cast<size_t>(port));
    expected.insert(expected.end(), before.begin(), before.end());
    compare(soak, "reading of the older protocol", sent, expected);
}

void LegacyCheck_select(Soak& soak) {
    std::string sent;
    switch (Soak_pick(soak, 0, 3)) {
    case 0:
        soak.legacyReflected = !soak.legacyReflected;
        sent = soak.legacyReflected ? "RC" : "FC";
        break;
    case 1:
        soak.legacyTrigger5 = !soak.legacyTrigger5;
        sent = soak.legacyTrigger5 ? "T5" : "T1";
        break;
    case 2:
        soak.legacyRange = Soak_pick(soak, 0, 17);
        sent = BenchText_format("R%02d", soak.legacyRange);
        break;
    default:
        soak.legacyRange = -1;
        sent = "RYY";
    }
    Report_action(soak.report, "remote: older protocol", sent);
    soak.terminal.send(sent);
}
