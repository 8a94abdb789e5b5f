#include "HistoryReader.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr size_t mostJobs = 32;

using Job = std::function<std::function<void()>(const SqliteFile&)>;

} // namespace

struct HistoryReader {
    std::shared_ptr<FleetLoop> loop;
    SqliteFile file; ///< the thread's
    std::mutex mutex;
    std::condition_variable wakeUp;
    std::deque<Job> jobs;   ///< under the mutex
    bool isStopped = false; ///< under the mutex
    std::thread thread;
};

namespace {

/// Waits for the next job; nothing once the reader has been stopped.
Job nextJob(HistoryReader& reader) {
    std::unique_lock lock(reader.mutex);
    reader.wakeUp.wait(lock, [&reader] { return reader.isStopped || !reader.jobs.empty(); });
    if (reader.isStopped) {
        return nullptr;
    }
    Job job = std::move(reader.jobs.front());
    reader.jobs.pop_front();
    return job;
}

void run(HistoryReader& reader) {
    while (const Job job = nextJob(reader)) {
        FleetLoop_post(*reader.loop, job(reader.file));
    }
}

} // namespace

std::shared_ptr<HistoryReader> HistoryReader_start(const std::shared_ptr<FleetLoop>& loop,
                                                   const std::string& path, std::string& error) {
    auto reader = std::make_shared<HistoryReader>();
    reader->loop = loop;
    reader->file = SqliteFile_openToRead(path, error);
    if (!reader->file) {
        return nullptr;
    }
    reader->thread = std::thread([&reader = *reader] { run(reader); });
    return reader;
}

bool HistoryReader_do(HistoryReader& reader,
                      std::function<std::function<void()>(const SqliteFile&)> read) {
    {
        const std::lock_guard lock(reader.mutex);
        if (reader.jobs.size() >= mostJobs) {
            return false;
        }
        reader.jobs.push_back(std::move(read));
    }
    reader.wakeUp.notify_one();
    return true;
}

void HistoryReader_stop(HistoryReader& reader) {
    {
        const std::lock_guard lock(reader.mutex);
        reader.isStopped = true;
    }
    reader.wakeUp.notify_one();
    reader.thread.join();
    reader.jobs.clear();
}
