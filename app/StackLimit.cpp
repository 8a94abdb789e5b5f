#include "StackLimit.h"

#include <cstdio>

void StackLimit_raise() {
    rlimit limit{};
    if (getrlimit(RLIMIT_STACK, &limit) != 0 || !StackLimit_isTooLow(limit)) {
        return;
    }
    limit.rlim_cur = stackLimitWanted_bytes;
    const int result = setrlimit(RLIMIT_STACK, &limit);
    if (result != 0) {
        fprintf(stderr, "setrlimit returned result = %d\n", result);
    }
}
