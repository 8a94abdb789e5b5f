#include "BackgroundSave.h"

#include "Threads.h"

namespace {

struct Requests {
    pthread_mutex_t mutex;
    pthread_cond_t made;
    pthread_cond_t done;
    bool hasThread;
    void (*save)(); ///< what is asked for; null while nothing is
    bool isSaving;
};

Requests& requests() {
    static Requests record = [] {
        Requests fresh{};
        pthread_mutex_init(&fresh.mutex, nullptr);
        Condition_initialize(&fresh.made);
        Condition_initialize(&fresh.done);
        return fresh;
    }();
    return record;
}

/// Waits for a request and takes it.
auto takeRequest(Requests& record) {
    const ScopedLock lock(record.mutex);
    while (record.save == nullptr) {
        pthread_cond_wait(&record.made, &record.mutex);
    }
    auto* const save = record.save;
    record.save = nullptr;
    record.isSaving = true;
    return save;
}

void noteEnd(Requests& record) {
    const ScopedLock lock(record.mutex);
    record.isSaving = false;
    pthread_cond_broadcast(&record.done);
}

void settingsWriterThread() {
    Requests& record = requests();
    for (;;) {
        auto* const save = takeRequest(record);
        save();
        noteEnd(record);
    }
}

/// A thread that cannot be started is tried again with the next request. False while there is none.
bool handOver(Requests& record, void (*save)()) {
    const ScopedLock lock(record.mutex);
    if (!record.hasThread) {
        pthread_t thread{};
        record.hasThread = Thread_start(&thread, "settingsWriter", settingsWriterThread) == 0;
    }
    if (record.hasThread) {
        record.save = save;
        pthread_cond_signal(&record.made);
    }
    return record.hasThread;
}

} // namespace

void BackgroundSave_request(void (*save)()) {
    if (!handOver(requests(), save)) {
        save();
    }
}

bool BackgroundSave_wait(uint32_t limit_ms) {
    Requests& record = requests();
    const timespec deadline = Thread_deadline(limit_ms);
    const ScopedLock lock(record.mutex);
    const auto isIdle = [&] { return record.save == nullptr && !record.isSaving; };
    int error = 0;
    while (!isIdle() && error == 0) {
        error = pthread_cond_timedwait(&record.done, &record.mutex, &deadline);
    }
    return isIdle();
}
