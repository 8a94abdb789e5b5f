#include "FleetSite.h"

#include "DatabaseThread.h"
#include "FleetCsv.h"
#include "FleetJson.h"
#include "FleetMetrics.h"
#include "WebFiles.h"

#include <algorithm>
#include <map>
#include <utility>

namespace {

constexpr int64_t publishPeriod_ms = 500;
constexpr int64_t silence_ms = 15'000; ///< after which readers are told that nothing has changed

constexpr unsigned badRequest = 400;
constexpr unsigned notFound = 404;
constexpr unsigned failed = 500;
constexpr unsigned tooBusy = 503;

/// What of a meter readers have been told last.
struct ToldMeter {
    bool isTold = false; ///< to all readers
    bool isThere = false;
    std::array<int64_t, meterChannelCount> times_ms{};
    std::array<MeterChannelState, meterChannelCount> states{};

    bool operator==(const ToldMeter&) const = default;
};

} // namespace

struct FleetSite {
    FleetSiteOptions options;
    std::shared_ptr<WebServer> server;
    std::shared_ptr<DatabaseThread> history;
    WebFiles files;
    std::map<std::string, ToldMeter> told;
    int64_t toldAt_ms = 0;
};

namespace {

WebAnswer answerOf(std::string body, const char* type = "application/json") {
    return {200, type, std::make_shared<const std::string>(std::move(body))};
}

WebAnswer refusal(unsigned status, const std::string& why) {
    WebAnswer answer = answerOf(FleetJson_error(why));
    answer.status = status;
    return answer;
}

ToldMeter toldOf(const MeterView& meter) {
    ToldMeter told;
    told.isTold = true;
    told.isThere = meter.isThere;
    for (size_t channel = 0; channel < meter.channels.size(); ++channel) {
        told.times_ms[channel] = meter.channels[channel].reading.time_ms;
        told.states[channel] = meter.channels[channel].state;
    }
    return told;
}

/// Leaves those alone of which readers have been told, and adds those that are watched no more.
FleetView changedOf(FleetSite& site, FleetView view) {
    std::map<std::string, ToldMeter> now;
    for (const MeterView& meter : view.meters) {
        now.emplace(meter.address, toldOf(meter));
    }
    for (const auto& [address, told] : site.told) {
        if (!now.contains(address)) {
            view.dropped.push_back(address);
        }
    }
    std::erase_if(view.meters, [&site, &now](const MeterView& meter) {
        const auto told = site.told.find(meter.address);
        return told != site.told.end() && told->second == now[meter.address];
    });
    site.told = std::move(now);
    return view;
}

void publish(FleetSite& site) {
    if (!WebServer_hasReaders(*site.server)) {
        return;
    }
    const FleetView changed = changedOf(site, site.options.view());
    if (!changed.meters.empty() || !changed.dropped.empty()) {
        WebServer_publish(*site.server, std::make_shared<const std::string>(
                                            "data: " + FleetJson_fleet(changed) + "\n\n"));
        site.toldAt_ms = changed.time_ms;
    } else if (changed.time_ms - site.toldAt_ms >= silence_ms) {
        WebServer_publish(*site.server, std::make_shared<const std::string>(": nothing new\n\n"));
        site.toldAt_ms = changed.time_ms;
    }
}

/// Offsets in dB of a meter's channels, as they are configured.
std::array<double, meterChannelCount> offsetsOf(const FleetView& view, const std::string& meter) {
    std::array<double, meterChannelCount> offsets{};
    const auto known = std::ranges::find(view.meters, meter, &MeterView::meter);
    if (known != view.meters.end()) {
        std::ranges::transform(known->channels, offsets.begin(), &ChannelView::offset_dB);
    }
    return offsets;
}

std::string csvOf(const std::vector<FleetReading>& readings) {
    std::string text = FleetCsv_header();
    for (const FleetReading& reading : readings) {
        FleetCsv_append(text, reading);
    }
    return text;
}

WebAnswer readReadings(const SqliteFile& file, const HistoryQuery& query, double offset_dB,
                       bool isCsv) {
    std::vector<FleetReading> readings;
    std::string error;
    if (!FleetHistory_readings(file, query, readings, error)) {
        return refusal(readings.size() > fleetHistoryMostReadings ? badRequest : failed, error);
    }
    for (FleetReading& reading : readings) {
        ChannelLimits_applyOffset(reading.values, offset_dB);
    }
    if (!isCsv) {
        return answerOf(FleetJson_readings(query, readings));
    }
    WebAnswer answer = answerOf(csvOf(readings), "text/csv; charset=utf-8");
    answer.fileName = "readings.csv";
    return answer;
}

WebAnswer readEvents(const SqliteFile& file, const HistoryQuery& query) {
    std::vector<FleetEvent> events;
    std::string error;
    return FleetHistory_events(file, query, events, error) ? answerOf(FleetJson_events(events))
                                                           : refusal(failed, error);
}

/// Answers with what `read` makes of the database.
void answerFromHistory(FleetSite& site, const WebReply& reply,
                       std::function<WebAnswer(const SqliteFile&)> read) {
    const bool isTaken =
        DatabaseThread_do(*site.history, [reply, read = std::move(read)](const SqliteFile& file) {
            return std::function<void()>([reply, answer = read(file)] { reply(answer); });
        });
    if (!isTaken) {
        reply(refusal(tooBusy, "too many questions at a time"));
    }
}

void answerReadings(FleetSite& site, const WebTarget& target, bool isCsv, const WebReply& reply) {
    const FleetView view = site.options.view();
    HistoryQuery query;
    std::string error;
    query.meter = target.path[2];
    if (!WebTarget_readReadings(target, view.time_ms, query, error)) {
        reply(refusal(badRequest, error));
        return;
    }
    const double offset_dB = offsetsOf(view, query.meter)[static_cast<size_t>(query.channel) - 1];
    answerFromHistory(site, reply, [query, offset_dB, isCsv](const SqliteFile& file) {
        return readReadings(file, query, offset_dB, isCsv);
    });
}

void answerMeter(const FleetSite& site, const WebTarget& target, const WebReply& reply) {
    const FleetView view = site.options.view();
    const auto meter = std::ranges::find(view.meters, target.path[2], &MeterView::meter);
    reply(meter == view.meters.end() ? refusal(notFound, "no such meter is watched")
                                     : answerOf(FleetJson_meter(*meter, view.time_ms)));
}

void answerScreen(const FleetSite& site, const WebTarget& target, const WebReply& reply) {
    const FleetView view = site.options.view();
    const auto meter = std::ranges::find(view.meters, target.path[2], &MeterView::meter);
    if (meter == view.meters.end()) {
        reply(refusal(notFound, "no such meter is watched"));
        return;
    }
    site.options.screen(meter->address, [reply](const std::string& png) {
        reply(png.empty() ? refusal(tooBusy, "the meter shows no picture now")
                          : answerOf(png, "image/png"));
    });
}

void answerEvents(FleetSite& site, const WebTarget& target, const WebReply& reply) {
    HistoryQuery query;
    std::string error;
    if (!WebTarget_readEvents(target, site.options.view().time_ms, query, error)) {
        reply(refusal(badRequest, error));
        return;
    }
    answerFromHistory(site, reply,
                      [query](const SqliteFile& file) { return readEvents(file, query); });
}

void answerMeters(FleetSite& site, const WebTarget& target, const WebReply& reply) {
    const std::vector<std::string>& path = target.path;
    const bool isReadings = path.size() == 4 && path[3] == "readings";
    const bool isCsv = path.size() == 4 && path[3] == "readings.csv";
    if (path.size() == 2) {
        reply(answerOf(FleetJson_fleet(site.options.view())));
    } else if (path.size() == 3) {
        answerMeter(site, target, reply);
    } else if (path.size() == 4 && path[3] == "screen") {
        answerScreen(site, target, reply);
    } else if (isReadings || isCsv) {
        answerReadings(site, target, isCsv, reply);
    } else {
        reply(refusal(notFound, "there is no such address"));
    }
}

void answerRequest(FleetSite& site, const WebTarget& target, const WebReply& reply) {
    const std::vector<std::string>& path = target.path;
    const std::string second = path.size() > 1 ? path[1] : "";
    if (const auto file = site.files.find(path[0]); path.size() == 1 && file != site.files.end()) {
        reply(file->second);
    } else if (path[0] == "metrics" && path.size() == 1) {
        reply(answerOf(FleetMetrics_text(site.options.view()), "text/plain; version=0.0.4"));
    } else if (path[0] == "api" && second == "meters") {
        answerMeters(site, target, reply);
    } else if (path[0] == "api" && second == "events" && path.size() == 2) {
        answerEvents(site, target, reply);
    } else if (path[0] == "api" && second == "stream" && path.size() == 2) {
        for (auto& [address, told] : site.told) {
            told.isTold = false; // who comes now is told of all meters
        }
        reply({.isStream = true});
    } else {
        reply(refusal(notFound, "there is no such address"));
    }
}

} // namespace

std::shared_ptr<FleetSite> FleetSite_start(const std::shared_ptr<FleetLoop>& loop,
                                           FleetSiteOptions options, std::string& error) {
    auto site = std::make_shared<FleetSite>();
    site->options = std::move(options);
    site->files = WebFiles_read();
    SqliteFile file = SqliteFile_openToRead(site->options.database, error);
    if (!file) {
        return nullptr;
    }
    site->history = DatabaseThread_start(loop, std::move(file));
    site->server = WebServer_start(
        *loop, site->options.address, site->options.token,
        [&site = *site](const WebTarget& target, const WebReply& reply) {
            answerRequest(site, target, reply);
        },
        error);
    if (!site->server) {
        DatabaseThread_stop(*site->history);
        return nullptr;
    }
    FleetLoop_every(*loop, publishPeriod_ms, [&site = *site] { publish(site); });
    return site;
}

std::string FleetSite_url(const FleetSite& site) {
    return WebServer_url(*site.server);
}

void FleetSite_stop(FleetSite& site) {
    DatabaseThread_stop(*site.history);
    WebServer_stop(*site.server);
}
