#ifndef FLEET_EXPORT_EXPORTER_H
#define FLEET_EXPORT_EXPORTER_H

#include "ExportUrl.h"
#include "FleetDatabase.h"
#include "FleetLoop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// Brings the readings of the export queue to a receiver: in their order, one batch after the
/// other, again and again with growing pauses until it has taken them.
struct Exporter;

struct ExporterOptions {
    ExportUrl url;
    std::string database;
    int64_t batch = 0; ///< readings at most
    int64_t answerTime_ms = 60'000;
    // Called on the loop.
    std::function<void(int64_t last)> taken; ///< the queue is done with up to this number
    /// The receiver does not take this reading, for this reason: it is left out.
    std::function<void(const FleetReading&, const std::string& why)> refused;
    std::function<void(const std::string& trouble)> told; ///< "" when it is well
};

struct ExporterCounts {
    bool isWell = false;   ///< the receiver has taken the last batch
    uint64_t exported = 0; ///< readings
    uint64_t refused = 0;
};

/// Nothing, with the reason, if the database cannot be opened.
std::shared_ptr<Exporter> Exporter_start(const std::shared_ptr<FleetLoop>& loop,
                                         ExporterOptions options, std::string& error);

const ExporterCounts& Exporter_counts(const Exporter& exporter);

/// What is on its way is sent again after the next start.
void Exporter_stop(Exporter& exporter);

#endif
