#include "DatabaseThread.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr size_t mostJobs = 32;

using Job = std::function<std::function<void()>(const SqliteFile&)>;

} // namespace

struct DatabaseThread {
    std::shared_ptr<FleetLoop> loop;
    SqliteFile file; ///< the thread's
    std::mutex mutex;
    std::condition_variable wakeUp;
    std::deque<Job> jobs;   ///< under the mutex
    bool isStopped = false; ///< under the mutex
    std::thread thread;
};

namespace {

/// Waits for the next job; nothing once the thread is to end.
Job nextJob(DatabaseThread& thread) {
    std::unique_lock lock(thread.mutex);
    thread.wakeUp.wait(lock, [&thread] { return thread.isStopped || !thread.jobs.empty(); });
    if (thread.isStopped) {
        return nullptr;
    }
    Job job = std::move(thread.jobs.front());
    thread.jobs.pop_front();
    return job;
}

void run(DatabaseThread& thread) {
    while (const Job job = nextJob(thread)) {
        FleetLoop_post(*thread.loop, job(thread.file));
    }
}

} // namespace

std::shared_ptr<DatabaseThread> DatabaseThread_start(const std::shared_ptr<FleetLoop>& loop,
                                                     SqliteFile file) {
    auto made = std::make_shared<DatabaseThread>();
    made->loop = loop;
    made->file = std::move(file);
    made->thread = std::thread([&thread = *made] { run(thread); });
    return made;
}

bool DatabaseThread_do(DatabaseThread& thread,
                       std::function<std::function<void()>(const SqliteFile&)> work) {
    {
        const std::lock_guard lock(thread.mutex);
        if (thread.jobs.size() >= mostJobs) {
            return false;
        }
        thread.jobs.push_back(std::move(work));
    }
    thread.wakeUp.notify_one();
    return true;
}

void DatabaseThread_stop(DatabaseThread& thread) {
    {
        const std::lock_guard lock(thread.mutex);
        thread.isStopped = true;
    }
    thread.wakeUp.notify_one();
    thread.thread.join();
    thread.jobs.clear();
    thread.file.reset();
}
