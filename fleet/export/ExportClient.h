#ifndef FLEET_EXPORT_EXPORT_CLIENT_H
#define FLEET_EXPORT_EXPORT_CLIENT_H

#include "ExportUrl.h"
#include "FleetLoop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// Brings batches to a receiver over HTTP, one after the other on one connection.
struct ExportClient;

struct ExportAnswer {
    unsigned status = 0; ///< 0 where none came
    std::string text;    ///< what was said, or why none came, in one line
};

/// An answer is waited for `answerTime_ms`.
std::shared_ptr<ExportClient> ExportClient_create(FleetLoop& loop, const ExportUrl& url,
                                                  int64_t answerTime_ms);

/// Sends a gzipped body; `done` is called once, on the loop, after twice the answer's time and some
/// seconds at the latest. One at a time.
void ExportClient_post(ExportClient& client, std::string body,
                       std::function<void(const ExportAnswer&)> done);

/// Hangs up; `done` is not called any more.
void ExportClient_stop(ExportClient& client);

#endif
