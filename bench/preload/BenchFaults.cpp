// The record of what fails in a world.

#include "BenchFaults.h"

#include "WorldTree.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// Runs `change` on the world's record.
template <typename Change> bool changeFaults(const char* folder, Change change) {
    BenchFaults* const faults = BenchFaults_map(folder);
    if (faults == nullptr) {
        return false;
    }
    const bool isChanged = change(*faults);
    munmap(faults, sizeof(BenchFaults));
    return isChanged;
}

} // namespace

BenchFaults* BenchFaults_map(const char* folder) {
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s/%s", folder, WorldFile::faults);
    const int fd = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        return nullptr;
    }
    void* page = MAP_FAILED;
    if (ftruncate(fd, sizeof(BenchFaults)) == 0) {
        page = mmap(nullptr, sizeof(BenchFaults), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    }
    close(fd);
    return page == MAP_FAILED ? nullptr : static_cast<BenchFaults*>(page);
}

int BenchFaults_find(const BenchFaults& faults, BenchFault kind, std::string_view instrumentPath) {
    for (const BenchFaultEntry& entry : faults.entries) {
        if (entry.kind.load() == kind && instrumentPath.starts_with(entry.path.data())) {
            return entry.error.load();
        }
    }
    return 0;
}

bool BenchFaults_add(const char* folder, BenchFault kind, std::string_view instrumentPath,
                     int error) {
    return changeFaults(folder, [&](BenchFaults& faults) {
        for (BenchFaultEntry& entry : faults.entries) {
            if (entry.kind.load() != BenchFault::none) {
                continue;
            }
            if (instrumentPath.size() >= entry.path.size()) {
                return false;
            }
            entry.path = {};
            memcpy(entry.path.data(), instrumentPath.data(), instrumentPath.size());
            entry.error.store(error);
            entry.kind.store(kind); // last: from here on it is seen
            return true;
        }
        return false;
    });
}

bool BenchFaults_remove(const char* folder, BenchFault kind) {
    return changeFaults(folder, [&](BenchFaults& faults) {
        for (BenchFaultEntry& entry : faults.entries) {
            if (entry.kind.load() == kind) {
                entry.kind.store(BenchFault::none);
            }
        }
        return true;
    });
}

bool BenchFaults_clear(const char* folder) {
    return changeFaults(folder, [](BenchFaults& faults) {
        for (BenchFaultEntry& entry : faults.entries) {
            entry.kind.store(BenchFault::none);
        }
        return true;
    });
}
