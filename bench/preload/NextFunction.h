#ifndef BENCH_PRELOAD_NEXT_FUNCTION_H
#define BENCH_PRELOAD_NEXT_FUNCTION_H

#include <atomic>
#include <dlfcn.h>

/// The definition that would have been called without this library. It is looked up at the first
/// call: programs and sanitizers call the C library before any constructor of ours has run.
template <typename Signature> class NextFunction;

template <typename Result, typename... Arguments> class NextFunction<Result(Arguments...)> {
public:
    using Signature = Result(Arguments...);

    constexpr explicit NextFunction(const char* functionName) : name(functionName) {}

    Signature* get() {
        Signature* found = address.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = reinterpret_cast<Signature*>(dlsym(RTLD_NEXT, name));
            address.store(found, std::memory_order_relaxed);
        }
        return found;
    }

    Result operator()(Arguments... arguments) {
        return get()(arguments...);
    }

private:
    const char* name;
    std::atomic<Signature*> address{nullptr};
};

#endif
