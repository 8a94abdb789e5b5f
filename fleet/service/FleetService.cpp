#include "FleetService.h"

#include "ChannelWatch.h"
#include "DatabaseThread.h"
#include "Exporter.h"
#include "FleetDatabase.h"
#include "FleetShare.h"
#include "FleetSite.h"
#include "FleetText.h"
#include "MeterFinder.h"
#include "MeterPool.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <utility>

namespace {

// Little at a time: while the file is written, no meter is asked.
constexpr int64_t storePeriod_ms = 100;
constexpr size_t summarizedAtOnce = 50; ///< channels
constexpr int64_t hour_ms = 3'600'000;
constexpr int64_t settleTime_ms = 60'000; ///< after which a reading is in the file

struct WatchedMeter {
    MeterConfig config;
    int64_t every_ms = 0;
    int64_t poll_ms = 0;
    std::string serial;       ///< "" until it has told it
    bool isAnnounced = false; ///< found by discovery, not in the configuration
    bool isDropped = false;
    bool wasThere = false; ///< has answered once
    std::array<ChannelWatch, meterChannelCount> channels;
    std::array<size_t, meterChannelCount> labels{}; ///< of the readings to be exported
};

struct Service {
    const FleetConfig* config = nullptr;
    std::shared_ptr<FleetLoop> loop;
    std::shared_ptr<MeterPool> pool;
    std::shared_ptr<MeterFinder> finder;
    std::shared_ptr<FleetSite> site;    ///< none where nobody is to look on
    std::shared_ptr<Exporter> exporter; ///< none where nothing is to be exported
    std::vector<WatchedMeter> meters;
    FleetDatabase database;
    std::shared_ptr<DatabaseThread> checkpointer;
    bool isCheckpointing = false;
    std::string checkpointTrouble;
    std::string trouble;        ///< of the database, as it was last told
    std::string minutesTrouble; ///< of what is made of it
    std::string finderTrouble;  ///< of the discovery
    std::string exportTrouble;
    uint64_t forgottenTold = 0; ///< readings that waited for too long
};

void say(const std::string& text) {
    fprintf(stderr, "quorvel-fleet: %s\n", text.c_str());
}

/// Tells of trouble once, and when it is over.
void tell(std::string& known, const std::string& what, const std::string& trouble) {
    if (trouble != known) {
        say(what + ": " + (trouble.empty() ? "well again" : trouble));
        known = trouble;
    }
}

std::string nameOf(const WatchedMeter& meter) {
    return meter.serial.empty() ? MeterAddress_text(meter.config.address) : meter.serial;
}

void addEvent(Service& service, const WatchedMeter& meter, int channel, ChannelEvent event) {
    FleetDatabase_addEvent(service.database,
                           {MeterPool_utc_ms(*service.pool), nameOf(meter), channel,
                            std::move(event.kind), std::move(event.detail)});
}

void takeNews(Service& service, const WatchedMeter& meter, size_t channel, ChannelNews news) {
    for (ChannelEvent& event : news.events) {
        addEvent(service, meter, static_cast<int>(channel) + 1, std::move(event));
    }
    for (FleetReading& reading : news.readings) {
        FleetDatabase_add(service.database, std::move(reading), meter.labels[channel]);
    }
}

void drop(Service& service, size_t index, const std::string& why) {
    WatchedMeter& meter = service.meters[index];
    say(MeterAddress_text(meter.config.address) + ": " + why);
    meter.isDropped = true;
    MeterPool_drop(*service.pool, index);
}

WatchedMeter& watch(Service& service, const MeterConfig& config) {
    const FleetConfig& all = *service.config;
    WatchedMeter meter;
    meter.config = config;
    meter.every_ms = config.every_ms > 0 ? config.every_ms : all.every_ms;
    meter.poll_ms = all.poll_ms > 0 ? std::min(all.poll_ms, meter.every_ms) : meter.every_ms;
    for (const ChannelConfig& channel : config.channels) {
        ChannelWatch& watched = meter.channels[static_cast<size_t>(channel.channel) - 1];
        watched.limits = channel.limits;
        watched.offset_dB = channel.offset_dB;
    }
    for (size_t channel = 0; channel < meterChannelCount; ++channel) {
        meter.labels[channel] =
            all.exported.url
                ? ExportQueue_label(service.database.queue,
                                    {config.name, config.place, meter.channels[channel].offset_dB})
                : fleetDatabaseNotExported;
    }
    const MeterTarget target{config.address, meter.poll_ms, all.holds};
    MeterPool_add(*service.pool, target);
    return service.meters.emplace_back(std::move(meter));
}

/// The meter that is watched under a serial number.
std::optional<size_t> watchedAs(const Service& service, const std::string& serial) {
    const auto isIt = [&serial](const WatchedMeter& meter) {
        return meter.serial == serial && !meter.isDropped;
    };
    const auto found = std::ranges::find_if(service.meters, isIt);
    return found == service.meters.end()
               ? std::nullopt
               : std::optional(static_cast<size_t>(found - service.meters.begin()));
}

/// Two addresses have told the same serial number. The first one stays, unless nobody answers there
/// any more and the second is announced: then the meter has got another address, and what is
/// configured of it goes along.
void watchOnce(Service& service, size_t first, size_t second) {
    const std::string serial = service.meters[first].serial;
    service.meters[second].serial = serial;
    if (MeterPool_isThere(*service.pool, first) || !service.meters[second].isAnnounced) {
        drop(service, second, serial + " is read at another address already");
        return;
    }
    MeterConfig config = service.meters[first].config;
    config.address = service.meters[second].config.address;
    drop(service, first, serial + " is at " + MeterAddress_text(config.address) + " now");
    drop(service, second, serial + " is read with what is configured of it");
    watch(service, config).isAnnounced = true;
}

/// The first answer of a meter tells who it is. False for one that is not to be watched here.
bool isOurs(Service& service, size_t index, const std::string& serial) {
    const FleetConfig& config = *service.config;
    WatchedMeter& meter = service.meters[index];
    if (meter.serial == serial) {
        return true;
    }
    if (!FleetShare_has(config.share, config.shareCount, serial)) {
        drop(service, index, serial + " belongs to another share");
        return false;
    }
    if (const std::optional<size_t> other = watchedAs(service, serial)) {
        watchOnce(service, *other, index);
        return false;
    }
    meter.wasThere = meter.wasThere && meter.serial.empty(); // another meter in the place of one
    meter.serial = serial;
    return true;
}

void takePoll(Service& service, const MeterPoll& poll) {
    WatchedMeter& meter = service.meters[poll.meter];
    if (poll.dialogue != nullptr && !isOurs(service, poll.meter, poll.dialogue->serial)) {
        return;
    }
    const bool isLast = RowMaker_endsRow(meter.poll_ms, meter.every_ms, poll.number);
    for (size_t channel = 0; channel < meterChannelCount; ++channel) {
        ChannelWatch& watch = meter.channels[channel];
        takeNews(service, meter, channel,
                 poll.dialogue == nullptr
                     ? ChannelWatch_miss(watch, isLast)
                     : ChannelWatch_take(watch, poll.dialogue->channels[channel], isLast));
    }
}

void meterChanged(Service& service, size_t index, bool isThere, const std::string& why) {
    if (isThere && !isOurs(service, index, MeterPool_dialogue(*service.pool, index).serial)) {
        return;
    }
    WatchedMeter& meter = service.meters[index];
    const char* arrival = meter.wasThere ? "meter back" : "meter came";
    addEvent(service, meter, 0, {isThere ? arrival : "meter gone", why});
    meter.wasThere = meter.wasThere || isThere;
}

/// Whether nothing is to be done about an address that is announced: it is watched, or left alone,
/// because its meter belongs to another share or is read elsewhere.
bool isSettled(const Service& service, const MeterAddress& address) {
    return std::ranges::any_of(service.meters, [&](const WatchedMeter& meter) {
        if (meter.config.address != address) {
            return false;
        }
        const std::optional<size_t> other = watchedAs(service, meter.serial);
        return !meter.isDropped || meter.serial.empty() ||
               (other && MeterPool_isThere(*service.pool, *other));
    });
}

void takeFound(Service& service, const std::vector<AnnouncedMeter>& found,
               const std::string& error) {
    tell(service.finderTrouble, "discovery", error);
    for (const AnnouncedMeter& announced : found) {
        if (!isSettled(service, announced.address)) {
            say(MeterAddress_text(announced.address) + ": announced as " + announced.name);
            watch(service, {announced.address, announced.name, {}, 0, {}}).isAnnounced = true;
        }
    }
}

void flush(Service& service) {
    std::string error;
    // What has waited for the file to be well again is stored at once.
    if (service.trouble.empty()) {
        FleetDatabase_flushSome(service.database, error);
    } else {
        FleetDatabase_flush(service.database, error);
    }
    tell(service.trouble, service.config->database, error);
}

/// Readings up to then are in the file. Of a meter that was lost within a row the last one comes
/// there when the row is to end; but minutes must be made before their readings are removed.
int64_t settled_ms(const Service& service, int64_t now_ms) {
    int64_t longest_ms = 0;
    for (const WatchedMeter& meter : service.meters) {
        longest_ms = std::max(longest_ms, meter.every_ms);
    }
    return now_ms - std::min(settleTime_ms + longest_ms, service.config->keepRaw_ms / 2);
}

void summarize(Service& service) {
    if (!service.trouble.empty()) {
        return;
    }
    const FleetConfig& config = *service.config;
    const int64_t now_ms = MeterPool_utc_ms(*service.pool);
    std::string error;
    // Only what has become minutes is removed.
    if (FleetDatabase_summarize(service.database, settled_ms(service, now_ms), summarizedAtOnce,
                                error)) {
        FleetDatabase_thin(service.database, now_ms, config.keepRaw_ms, config.keepMinutes_ms,
                           error);
    }
    tell(service.minutesTrouble, config.database + ": minutes", error);
}

/// Lets the other thread bring the log into the file. Until it has, nothing is written, or else the
/// log would never come to an end; readings wait in memory.
void beginCheckpoint(Service& service) {
    service.isCheckpointing =
        DatabaseThread_do(*service.checkpointer, [&service](const SqliteFile& file) {
            std::string error;
            SqliteFile_checkpoint(file, error);
            return std::function<void()>([&service, error] {
                service.isCheckpointing = false;
                tell(service.checkpointTrouble, service.config->database + ": checkpoint", error);
            });
        });
}

void keepDatabase(Service& service) {
    if (service.isCheckpointing) {
        return;
    }
    flush(service);
    summarize(service);
    if (FleetDatabase_isCheckpointDue(service.database)) {
        beginCheckpoint(service);
    }
}

/// What waited for too long is told once an hour, so that the journal does not fill up.
void tellForgotten(Service& service) {
    const uint64_t forgotten = service.database.queue.forgotten;
    if (forgotten > service.forgottenTold) {
        const std::string what = std::to_string(forgotten - service.forgottenTold) +
                                 " readings waited for too long and are not exported";
        say(what);
        FleetDatabase_addEvent(service.database,
                               {MeterPool_utc_ms(*service.pool), "", 0, "export lost", what});
        service.forgottenTold = forgotten;
    }
}

void refuse(Service& service, const FleetReading& reading, const std::string& why) {
    const std::string what = FleetText_time(reading.time_ms) + ": " + why;
    say("export: " + reading.meter + " is left out, " + what);
    FleetDatabase_addEvent(service.database, {MeterPool_utc_ms(*service.pool), reading.meter,
                                              reading.channel, "export refused", what});
}

/// Lets readings go on, if that is wanted. False, with the reason told, if that cannot be.
bool startExport(Service& service) {
    const ExportConfig& config = service.config->exported;
    if (!config.url) {
        return true;
    }
    std::string error;
    const std::string receiver = "export to " + MeterAddress_text(config.url->address);
    service.exporter = Exporter_start(
        service.loop,
        {.url = *config.url,
         .database = service.config->database,
         .batch = config.batch,
         .taken = [&service](int64_t last) { FleetDatabase_noteExported(service.database, last); },
         .refused = [&service](const FleetReading& reading,
                               const std::string& why) { refuse(service, reading, why); },
         .told =
             [&service, receiver](const std::string& trouble) {
                 tell(service.exportTrouble, receiver, trouble);
             }},
        error);
    if (!service.exporter) {
        say(receiver + ": " + error);
        return false;
    }
    FleetLoop_every(*service.loop, hour_ms, [&service] { tellForgotten(service); });
    return true;
}

std::optional<ExportView> viewOfExport(const Service& service) {
    if (!service.exporter) {
        return std::nullopt;
    }
    const ExporterCounts& counts = Exporter_counts(*service.exporter);
    const ExportQueue& queue = service.database.queue;
    return ExportView{counts.isWell, queue.count, counts.exported,
                      counts.refused + queue.forgotten};
}

MeterView viewOf(const Service& service, size_t index) {
    const WatchedMeter& meter = service.meters[index];
    const MeterDialogue& dialogue = MeterPool_dialogue(*service.pool, index);
    MeterView view;
    view.meter = nameOf(meter);
    view.address = MeterAddress_text(meter.config.address);
    view.name = meter.config.name;
    view.place = meter.config.place;
    view.model = dialogue.model;
    view.firmware = dialogue.firmware;
    view.isThere = MeterPool_isThere(*service.pool, index);
    view.reconnects = MeterPool_counts(*service.pool, index).reconnects;
    for (size_t channel = 0; channel < meterChannelCount; ++channel) {
        const ChannelWatch& watched = meter.channels[channel];
        view.channels[channel] = {watched.state,  watched.shown,       watched.offset_dB,
                                  watched.limits, watched.limitStates, watched.gaps};
    }
    return view;
}

FleetView viewOfAll(const Service& service) {
    FleetView view;
    view.time_ms = MeterPool_utc_ms(*service.pool);
    view.exported = viewOfExport(service);
    for (size_t index = 0; index < service.meters.size(); ++index) {
        if (!service.meters[index].isDropped) {
            view.meters.push_back(viewOf(service, index));
        }
    }
    return view;
}

void fetchScreen(Service& service, const std::string& address,
                 const std::function<void(const std::string&)>& done) {
    const auto meter =
        std::ranges::find_if(service.meters, [&address](const WatchedMeter& watched) {
            return MeterAddress_text(watched.config.address) == address;
        });
    const auto index = static_cast<size_t>(meter - service.meters.begin());
    if (meter == service.meters.end() || !MeterPool_askPicture(*service.pool, index, done)) {
        done({});
    }
}

/// Lets others look on, if that is wanted. False, with the reason told, if they cannot.
bool serve(Service& service) {
    const FleetConfig& config = *service.config;
    const std::optional<MeterAddress> address = MeterAddress_parse(config.listen);
    if (!address) {
        return true;
    }
    std::string error;
    service.site = FleetSite_start(
        service.loop,
        {*address, config.token, config.database, [&service] { return viewOfAll(service); },
         [&service](const std::string& meter, const std::function<void(const std::string&)>& done) {
             fetchScreen(service, meter, done);
         }},
        error);
    say(service.site ? "serving " + FleetSite_url(*service.site) : config.listen + ": " + error);
    return service.site != nullptr;
}

void start(Service& service) {
    service.loop = FleetLoop_create();
    service.pool = MeterPool_create(
        service.loop, {.polled = [&service](const MeterPoll& poll) { takePoll(service, poll); },
                       .changed =
                           [&service](size_t meter, bool isThere, const std::string& why) {
                               meterChanged(service, meter, isThere, why);
                           }});
    for (const MeterConfig& meter : service.config->meters) {
        watch(service, meter);
    }
    FleetLoop_onEnd(*service.loop, [&service] { FleetLoop_stop(*service.loop); });
    FleetLoop_every(*service.loop, storePeriod_ms, [&service] { keepDatabase(service); });
    if (service.config->discovers) {
        service.finder =
            MeterFinder_start(service.loop, [&service](const std::vector<AnnouncedMeter>& found,
                                                       const std::string& error) {
                takeFound(service, found, error);
            });
    }
}

/// Stores what is left. Returns the exit status.
int end(Service& service) {
    MeterPool_stop(*service.pool);
    if (service.finder) {
        MeterFinder_stop(*service.finder);
    }
    if (service.site) {
        FleetSite_stop(*service.site);
    }
    if (service.exporter) {
        Exporter_stop(*service.exporter);
    }
    DatabaseThread_stop(*service.checkpointer);
    for (const WatchedMeter& meter : service.meters) {
        for (size_t channel = 0; channel < meterChannelCount; ++channel) {
            ChannelWatch rest = meter.channels[channel];
            takeNews(service, meter, channel, ChannelWatch_miss(rest, true));
        }
    }
    std::string error;
    FleetDatabase_flush(service.database, error);
    const size_t lost = service.database.lost + FleetDatabase_waiting(service.database);
    FleetDatabase_close(service.database);
    if (lost > 0) {
        say(service.config->database + ": " + std::to_string(lost) + " readings are lost" +
            (error.empty() ? "" : ": " + error));
    }
    return lost > 0 ? 1 : 0;
}

} // namespace

int FleetService_run(const FleetConfig& config) {
    Service service;
    std::string error;
    service.config = &config;
    SqliteFile checkpointed;
    if (FleetDatabase_open(service.database, config.database, error)) {
        checkpointed = SqliteFile_openToCheckpoint(config.database, error);
    }
    if (!checkpointed) {
        say(config.database + ": " + error);
        return 1;
    }
    start(service);
    service.checkpointer = DatabaseThread_start(service.loop, std::move(checkpointed));
    const bool isServed = serve(service) && startExport(service);
    if (isServed) {
        say("watching " + std::to_string(config.meters.size()) + " meters");
        FleetLoop_run(*service.loop);
    }
    const int status = end(service);
    return isServed ? status : 1;
}
