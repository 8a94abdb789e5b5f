#include "Exporter.h"

#include "DatabaseThread.h"
#include "ExportClient.h"
#include "FleetHistory.h"
#include "GzipText.h"
#include "ReconnectPause.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr int64_t millisecond_ns = 1'000'000;
constexpr int64_t look_ms = 100;
constexpr int64_t gather_ms = 1000; ///< between batches that are not full

// Statuses of a batch that something in it may be to blame for.
constexpr unsigned badRequest = 400;
constexpr unsigned tooLarge = 413;
constexpr unsigned notUnderstood = 422;
constexpr unsigned firstFailure = 300; ///< from here on a status is none of success
constexpr unsigned firstSuccess = 200;

struct Batch {
    int64_t last = 0; ///< number of its last reading
    int64_t count = 0;
    FleetReading first;
    std::string error; ///< why there is none
};

/// On the reader's thread. `body` is gzipped, and empty where there is nothing to say.
Batch readBatch(const SqliteFile& file, int64_t after, int64_t most, LineTime time,
                std::string& body) {
    Batch batch;
    std::vector<QueuedReading> readings;
    batch.last = after;
    if (!FleetHistory_queued(file, most, batch.last, readings, batch.error)) {
        return batch;
    }
    std::string lines;
    for (const QueuedReading& queued : readings) {
        LineProtocol_append(lines, queued.reading, queued.labels, time);
    }
    batch.count = static_cast<int64_t>(readings.size());
    if (!lines.empty()) {
        batch.first = readings.front().reading;
        body = GzipText_make(lines);
        batch.error = body.empty() ? "there is too little memory" : "";
    }
    return batch;
}

} // namespace

struct Exporter {
    ExporterOptions options;
    std::shared_ptr<DatabaseThread> reader;
    std::shared_ptr<ExportClient> client;
    ExporterCounts counts;
    ReconnectPause pause;
    int64_t doneTo = 0;    ///< number in the queue
    int64_t most = 0;      ///< readings of the next batch
    int64_t nextAt_ms = 0; ///< monotonic
    bool isBusy = false;
};

namespace {

int64_t now_ms() {
    return FleetLoop_monotonic_ns() / millisecond_ns;
}

void waitAfterFailure(Exporter& exporter, const std::string& trouble) {
    exporter.counts.isWell = false;
    exporter.nextAt_ms = now_ms() + ReconnectPause_next_ms(exporter.pause);
    exporter.options.told(trouble);
}

void settle(Exporter& exporter, const Batch& batch) {
    exporter.doneTo = batch.last;
    exporter.options.taken(batch.last);
}

void succeed(Exporter& exporter, const Batch& batch) {
    const bool isFull = batch.count == exporter.most;
    settle(exporter, batch);
    exporter.counts.isWell = true;
    exporter.counts.exported += static_cast<uint64_t>(batch.count);
    exporter.most = std::min(exporter.options.batch, exporter.most * 2);
    exporter.nextAt_ms = now_ms() + (isFull ? 0 : gather_ms);
    ReconnectPause_reset(exporter.pause);
    exporter.options.told({});
}

/// Something in the batch may be to blame: by halves it is found, and left out. Since all batches
/// may be refused for a reason that somebody will mend, even that is done after growing pauses.
void divide(Exporter& exporter, const Batch& batch, const std::string& why) {
    exporter.most = std::max<int64_t>(batch.count / 2, 1);
    waitAfterFailure(exporter, why);
    if (batch.count == 1) {
        ++exporter.counts.refused;
        exporter.options.refused(batch.first, why);
        settle(exporter, batch);
    }
}

void takeAnswer(Exporter& exporter, const Batch& batch, const ExportAnswer& answer) {
    exporter.isBusy = false;
    if (answer.status >= firstSuccess && answer.status < firstFailure) {
        succeed(exporter, batch);
    } else if (answer.status == badRequest || answer.status == tooLarge ||
               answer.status == notUnderstood) {
        divide(exporter, batch, answer.text);
    } else {
        waitAfterFailure(exporter, answer.text);
    }
}

void beginBatch(Exporter& exporter);

void takeBatch(Exporter& exporter, const Batch& batch, std::string body) {
    if (!body.empty()) {
        ExportClient_post(*exporter.client, std::move(body),
                          [&exporter, batch](const ExportAnswer& answer) {
                              takeAnswer(exporter, batch, answer);
                              if (exporter.nextAt_ms <= now_ms()) {
                                  beginBatch(exporter);
                              }
                          });
        return;
    }
    exporter.isBusy = false;
    exporter.nextAt_ms = now_ms() + gather_ms;
    if (!batch.error.empty()) {
        waitAfterFailure(exporter, batch.error);
    } else if (batch.count > 0) { // none of them has a value
        settle(exporter, batch);
    }
}

void beginBatch(Exporter& exporter) {
    const auto read = [&exporter, after = exporter.doneTo, most = exporter.most,
                       time = exporter.options.url.time](const SqliteFile& file) {
        std::string body;
        const Batch batch = readBatch(file, after, most, time, body);
        return std::function<void()>(
            [&exporter, batch, body] { takeBatch(exporter, batch, body); });
    };
    exporter.isBusy = DatabaseThread_do(*exporter.reader, read);
}

} // namespace

std::shared_ptr<Exporter> Exporter_start(const std::shared_ptr<FleetLoop>& loop,
                                         ExporterOptions options, std::string& error) {
    auto exporter = std::make_shared<Exporter>();
    exporter->options = std::move(options);
    exporter->most = exporter->options.batch;
    exporter->pause = ReconnectPause_create(static_cast<uint32_t>(FleetLoop_wall_ns()));
    SqliteFile file = SqliteFile_openToRead(exporter->options.database, error);
    if (!file) {
        return nullptr;
    }
    exporter->reader = DatabaseThread_start(loop, std::move(file));
    exporter->client =
        ExportClient_create(*loop, exporter->options.url, exporter->options.answerTime_ms);
    FleetLoop_every(*loop, look_ms, [&exporter = *exporter] {
        if (!exporter.isBusy && now_ms() >= exporter.nextAt_ms) {
            beginBatch(exporter);
        }
    });
    return exporter;
}

const ExporterCounts& Exporter_counts(const Exporter& exporter) {
    return exporter.counts;
}

void Exporter_stop(Exporter& exporter) {
    DatabaseThread_stop(*exporter.reader);
    ExportClient_stop(*exporter.client);
}
