#include "MeterFinder.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr int64_t browseTime_ms = 3000;
constexpr auto pauseTime = std::chrono::minutes(1);

} // namespace

struct MeterFinder {
    std::shared_ptr<FleetLoop> loop;
    std::function<void(const std::vector<AnnouncedMeter>&, const std::string&)> found;
    std::mutex mutex;
    std::condition_variable wakeUp;
    bool isStopped = false; ///< under the mutex
    std::thread thread;
};

namespace {

/// False once the finder has been stopped.
bool pause(MeterFinder& finder) {
    std::unique_lock lock(finder.mutex);
    return !finder.wakeUp.wait_for(lock, pauseTime, [&finder] { return finder.isStopped; });
}

void run(MeterFinder& finder) {
    do {
        std::vector<AnnouncedMeter> meters;
        std::string error;
        MeterBrowser_find(browseTime_ms, meters, error);
        FleetLoop_post(*finder.loop,
                       [found = finder.found, meters, error] { found(meters, error); });
    } while (pause(finder));
}

} // namespace

std::shared_ptr<MeterFinder> MeterFinder_start(
    const std::shared_ptr<FleetLoop>& loop,
    std::function<void(const std::vector<AnnouncedMeter>&, const std::string&)> found) {
    auto finder = std::make_shared<MeterFinder>();
    finder->loop = loop;
    finder->found = std::move(found);
    finder->thread = std::thread([&finder = *finder] { run(finder); });
    return finder;
}

void MeterFinder_stop(MeterFinder& finder) {
    {
        const std::lock_guard lock(finder.mutex);
        finder.isStopped = true;
    }
    finder.wakeUp.notify_all();
    finder.thread.join();
}
