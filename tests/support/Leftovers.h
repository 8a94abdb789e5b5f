#ifndef TESTS_SUPPORT_LEFTOVERS_H
#define TESTS_SUPPORT_LEFTOVERS_H

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <malloc.h>

/// What the process holds. The sanitizers' own heap counts as empty: they tell of leaks themselves.
struct Holdings {
    std::ptrdiff_t heap_bytes;
    std::ptrdiff_t descriptors;
};

inline Holdings holdings() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return {static_cast<std::ptrdiff_t>(mallinfo2().uordblks),
            std::distance(begin(entries), end(entries))};
}

/// Whatever the run takes, it gives back: repeated, it leaves neither memory nor a descriptor. What
/// other threads take meanwhile does not grow with every repetition.
inline testing::AssertionResult leavesNothingBehind(const std::function<void()>& run) {
    constexpr int repetitions = 100;
    constexpr std::ptrdiff_t smallestBlock_bytes = 16;
    run(); // what is made once and kept
    const Holdings before = holdings();
    for (int count = 0; count < repetitions; ++count) {
        run();
    }
    const Holdings after = holdings();
    if (after.descriptors > before.descriptors ||
        after.heap_bytes > before.heap_bytes + repetitions * smallestBlock_bytes) {
        return testing::AssertionFailure()
               << after.heap_bytes - before.heap_bytes << " bytes and "
               << after.descriptors - before.descriptors << " descriptors are left";
    }
    return testing::AssertionSuccess();
}

#endif
