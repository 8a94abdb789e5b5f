#include "LogCommand.h"

#include "LogSummary.h"
#include "MeterPool.h"
#include "ReadingFile.h"
#include "RowMaker.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int64_t progressPeriod_ms = 1000;
// Little at a time: while the file is written, no meter is asked.
constexpr int64_t flushPeriod_ms = 100;
constexpr int64_t endTick_ms = 50;

struct LoggedMeter {
    std::array<RowMaker, meterChannelCount> rows;
    std::array<bool, meterChannelCount> hasSensor{}; ///< when it was last seen
    bool wasThere = false;
};

struct Log {
    const LogOptions* options = nullptr;
    std::shared_ptr<FleetLoop> loop;
    std::shared_ptr<MeterPool> pool;
    std::vector<LoggedMeter> meters;
    ReadingFile file;
    LogSummary summary;
    int64_t start_ns = 0;
    std::string trouble; ///< of the file, as it was last told
    bool isOnTerminal = false;
};

/// A line on the standard error, above the progress line if there is one.
void say(const Log& log, const std::string& text) {
    fprintf(stderr, "%s%s\n", log.isOnTerminal ? "\r\x1b[K" : "", text.c_str());
}

void writeRow(Log& log, RowMaker& maker) {
    if (std::optional<FleetReading> row = RowMaker_take(maker)) {
        ++log.summary.readings;
        ReadingFile_add(log.file, std::move(*row));
    }
}

void takeReading(Log& log, RowMaker& maker, const FleetReading& reading) {
    if (RowMaker_isOther(maker, reading)) {
        writeRow(log, maker);
    }
    RowMaker_add(maker, reading);
}

void takeChannel(Log& log, LoggedMeter& meter, size_t index, const MeterDialogue& dialogue) {
    const MeterChannel& channel = dialogue.channels[index];
    meter.hasSensor[index] = channel.state != MeterChannelState::noSensor;
    if (channel.state == MeterChannelState::measuring) {
        takeReading(log, meter.rows[index], channel.reading);
    } else if (channel.state == MeterChannelState::silent) {
        ++log.summary.gaps;
    }
}

void takePoll(Log& log, const MeterPoll& poll) {
    LoggedMeter& meter = log.meters[poll.meter];
    for (size_t channel = 0; channel < meterChannelCount; ++channel) {
        if (poll.dialogue != nullptr) {
            takeChannel(log, meter, channel, *poll.dialogue);
        } else if (meter.hasSensor[channel]) {
            ++log.summary.gaps;
        }
        if (RowMaker_endsRow(log.options->poll_ms, log.options->every_ms, poll.number)) {
            writeRow(log, meter.rows[channel]);
        }
    }
}

void meterChanged(Log& log, size_t index, bool isThere, const std::string& why) {
    LoggedMeter& meter = log.meters[index];
    const std::string address = MeterAddress_text(log.options->meters[index]);
    if (!isThere) {
        say(log, address + ": gone: " + why);
    } else if (meter.wasThere) {
        say(log, address + ": back");
    } else {
        const MeterDialogue& dialogue = MeterPool_dialogue(*log.pool, index);
        say(log, address + ": " + dialogue.model + " " + dialogue.serial);
    }
    meter.wasThere = meter.wasThere || isThere;
}

/// Tells of trouble with the file once, and when it is over.
void flush(Log& log) {
    std::string error;
    ReadingFile_flush(log.file, error);
    if (error != log.trouble) {
        say(log,
            "quorvel-fleet: " + log.options->path + ": " +
                (error.empty() ? "is written again" : error + "; the readings wait in memory"));
        log.trouble = error;
    }
}

void updateSummary(Log& log) {
    log.summary.elapsed_ms = (FleetLoop_monotonic_ns() - log.start_ns) / 1'000'000;
    log.summary.metersThere = 0;
    for (size_t i = 0; i < log.meters.size(); ++i) {
        log.summary.metersThere += MeterPool_isThere(*log.pool, i) ? 1 : 0;
    }
}

void showProgress(Log& log) {
    updateSummary(log);
    fprintf(stderr, "\r\x1b[K%s", LogSummary_progress(log.summary).c_str());
    fflush(stderr);
}

void endWhenItIsTime(Log& log) {
    const int64_t elapsed_ns = FleetLoop_monotonic_ns() - log.start_ns;
    if (elapsed_ns >= log.options->duration_ms * 1'000'000) {
        FleetLoop_stop(*log.loop);
    }
}

int fail(const std::string& why) {
    fprintf(stderr, "quorvel-fleet: %s\n", why.c_str());
    return 1;
}

/// Writes what is left. Returns the exit status.
int end(Log& log) {
    MeterPool_stop(*log.pool);
    for (LoggedMeter& meter : log.meters) {
        for (RowMaker& maker : meter.rows) {
            writeRow(log, maker);
        }
    }
    updateSummary(log);
    std::string error;
    const bool isClosed = ReadingFile_close(log.file, error);
    say(log, LogSummary_end(log.summary, log.options->path));
    if (!isClosed || log.file.lost > 0) {
        const size_t lost = log.file.waiting.size() + log.file.lost;
        return fail(log.options->path + ": " + (isClosed ? log.trouble : error) + "; " +
                    std::to_string(lost) + " readings are lost");
    }
    const bool wasAnyThere = std::ranges::any_of(log.meters, &LoggedMeter::wasThere);
    return wasAnyThere ? 0 : fail("no meter has answered");
}

} // namespace

int LogCommand_run(const LogOptions& options) {
    Log log;
    std::string error;
    if (!ReadingFile_open(log.file, options.path, error)) {
        return fail(options.path + ": " + error);
    }
    log.options = &options;
    log.isOnTerminal = isatty(STDERR_FILENO) == 1;
    log.meters.resize(options.meters.size());
    log.summary.meters = options.meters.size();
    log.summary.duration_ms = options.duration_ms;
    log.start_ns = FleetLoop_monotonic_ns();
    log.loop = FleetLoop_create();
    log.pool = MeterPool_create(
        log.loop,
        {.polled = [&log](const MeterPoll& poll) { takePoll(log, poll); },
         .changed = [&log](size_t meter, bool isThere,
                           const std::string& why) { meterChanged(log, meter, isThere, why); }});
    for (const MeterAddress& address : options.meters) {
        MeterPool_add(*log.pool, {address, options.poll_ms, options.holds});
    }
    FleetLoop_onEnd(*log.loop, [&log] { FleetLoop_stop(*log.loop); });
    FleetLoop_every(*log.loop, flushPeriod_ms, [&log] { flush(log); });
    if (log.isOnTerminal) {
        FleetLoop_every(*log.loop, progressPeriod_ms, [&log] { showProgress(log); });
    }
    if (options.duration_ms > 0) {
        FleetLoop_every(*log.loop, endTick_ms, [&log] { endWhenItIsTime(log); });
    }
    FleetLoop_run(*log.loop);
    return end(log);
}
