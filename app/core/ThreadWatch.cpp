#include "ThreadWatch.h"

#include <array>
#include <atomic>
#include <pthread.h>

namespace {

struct WatchedThread {
    std::atomic<bool> isThere; ///< the name is valid
    std::atomic<uint32_t> beats;
    std::atomic<bool> isResting;
    std::array<char, 16> name; ///< as in process listings
    // Of the thread that looks after the others.
    uint32_t seenBeats;
    uint32_t silence_ms;
};

/// Room for all of the instrument's threads.
std::array<WatchedThread, 32> watchedThreads{};
std::atomic<size_t> takenPlaces{0};
thread_local WatchedThread* ownPlace = nullptr;

/// Null when there is no room.
WatchedThread* takePlace() {
    const size_t place = takenPlaces++;
    if (place >= watchedThreads.size()) {
        takenPlaces = watchedThreads.size();
        return nullptr;
    }
    WatchedThread& taken = watchedThreads[place];
    pthread_getname_np(pthread_self(), taken.name.data(), taken.name.size());
    taken.isThere = true;
    return &taken;
}

} // namespace

void ThreadWatch_beat() {
    if (ownPlace == nullptr) {
        ownPlace = takePlace();
    }
    ThreadWatch_progress();
}

void ThreadWatch_rest() {
    if (ownPlace != nullptr) {
        ownPlace->isResting = true;
    }
}

void ThreadWatch_progress() {
    if (ownPlace != nullptr) {
        ++ownPlace->beats;
        ownPlace->isResting = false;
    }
}

const char* ThreadWatch_findSilent(uint32_t elapsed_ms, uint32_t limit_ms) {
    const char* silent = nullptr;
    for (WatchedThread& thread : watchedThreads) {
        if (!thread.isThere) {
            continue;
        }
        const uint32_t beats = thread.beats;
        const bool isAlive = thread.isResting || beats != thread.seenBeats;
        thread.silence_ms = isAlive ? 0 : thread.silence_ms + elapsed_ms;
        thread.seenBeats = beats;
        silent = thread.silence_ms >= limit_ms ? thread.name.data() : silent;
    }
    return silent;
}
