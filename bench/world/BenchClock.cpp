#include "BenchClock.h"

#include "ClockRecord.h"

#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr double slowest = 0.01;
constexpr double fastest = 1000;

int64_t clock_ns(clockid_t id) {
    timespec now{};
    clock_gettime(id, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

void startAtRealTime(ClockRecord& record) {
    const int64_t now = clock_ns(CLOCK_MONOTONIC);
    record.real_ns = now;
    record.bench_ns = now;
    record.wallAhead_ns = clock_ns(CLOCK_REALTIME) - now;
    record.reserved[0] = record.wallAhead_ns;
    record.speed = 1;
}

} // namespace

bool BenchClock_open(BenchClock& clock, const std::string& world) {
    const int fd = open((world + "/clock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        return false;
    }
    struct stat file {};
    const bool isNew = fstat(fd, &file) == 0 && file.st_size < off_t{sizeof(ClockRecord)};
    const bool hasRoom = !isNew || ftruncate(fd, sizeof(ClockRecord)) == 0;
    void* mapped =
        hasRoom ? mmap(nullptr, sizeof(ClockRecord), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                : MAP_FAILED;
    close(fd);
    if (mapped == MAP_FAILED) {
        return false;
    }
    clock.record = static_cast<ClockRecord*>(mapped);
    if (clock.record->speed == 0) {
        startAtRealTime(*clock.record);
    }
    return true;
}

void BenchClock_close(BenchClock& clock) {
    if (clock.record != nullptr) {
        munmap(clock.record, sizeof(ClockRecord));
        clock.record = nullptr;
    }
}

int64_t BenchClock_real_ns() {
    return clock_ns(CLOCK_MONOTONIC);
}

int64_t BenchClock_now_ns(const BenchClock& clock) {
    const ClockRecord& record = *clock.record;
    for (;;) {
        const uint64_t before = record.sequence;
        const int64_t now = ClockRecord_benchTime(record.speed, record.real_ns, record.bench_ns,
                                                  BenchClock_real_ns());
        if (before % 2 == 0 && record.sequence == before) {
            return now;
        }
    }
}

double BenchClock_speed(const BenchClock& clock) {
    return clock.record->speed;
}

bool BenchClock_setSpeed(const BenchClock& clock, double speed) {
    if (!(speed >= slowest && speed <= fastest)) {
        return false;
    }
    ClockRecord& record = *clock.record;
    const int64_t real = BenchClock_real_ns();
    const int64_t bench =
        ClockRecord_benchTime(record.speed, record.real_ns, record.bench_ns, real);
    ++record.sequence;
    record.real_ns = real;
    record.bench_ns = bench;
    record.speed = speed;
    ++record.sequence;
    return true;
}

void BenchClock_step(const BenchClock& clock, int64_t step_ns) {
    clock.record->wallAhead_ns += step_ns;
}

int64_t BenchClock_steps_ns(const BenchClock& clock) {
    return clock.record->wallAhead_ns - clock.record->reserved[0];
}
