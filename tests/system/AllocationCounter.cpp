// A preload library that counts the memory that a program's own code asks for: calls of malloc and
// its kin, of operator new, and of what the C library allocates for, that come from the program's
// file and not from a library that it uses. It stands before the bench's preload library.

#include "AllocationCounter.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t number, size_t size);
void* __libc_realloc(void* old, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
}

namespace {

uintptr_t programStart;
uintptr_t programEnd;
AllocationCounts* counts;

/// The program comes first.
int noteProgram(dl_phdr_info* info, size_t /*size*/, void* /*data*/) {
    programStart = info->dlpi_addr;
    for (int at = 0; at < info->dlpi_phnum; ++at) {
        const auto& part = info->dlpi_phdr[at];
        if (part.p_type == PT_LOAD && info->dlpi_addr + part.p_vaddr + part.p_memsz > programEnd) {
            programEnd = info->dlpi_addr + part.p_vaddr + part.p_memsz;
        }
    }
    return 1;
}

AllocationCounts* mapCounts() {
    const char* name = getenv(allocationCountsVariable);
    const int fd = name == nullptr ? -1 : open(name, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    void* mapped =
        mmap(nullptr, sizeof(AllocationCounts), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return mapped == MAP_FAILED ? nullptr : static_cast<AllocationCounts*>(mapped);
}

__attribute__((constructor)) void begin() {
    dl_iterate_phdr(noteProgram, nullptr);
    counts = mapCounts();
    if (counts != nullptr) {
        counts->isLoaded = 1;
    }
}

void note(const void* returnAddress) {
    const auto caller = reinterpret_cast<uintptr_t>(returnAddress);
    if (counts != nullptr && caller >= programStart && caller < programEnd) {
        const uint32_t number = counts->count.fetch_add(1);
        counts->callers[number % allocationCallersKept] = caller - programStart;
    }
}

template <typename Function> Function* nextFunction(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

void* malloc(size_t size) {
    note(__builtin_return_address(0));
    return __libc_malloc(size);
}

void* calloc(size_t number, size_t size) {
    note(__builtin_return_address(0));
    return __libc_calloc(number, size);
}

void* realloc(void* old, size_t size) {
    note(__builtin_return_address(0));
    return __libc_realloc(old, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    note(__builtin_return_address(0));
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
    note(__builtin_return_address(0));
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}
}

extern "C" {

FILE* fopen(const char* name, const char* mode) {
    note(__builtin_return_address(0));
    static const auto next = nextFunction<FILE*(const char*, const char*)>("fopen");
    return next(name, mode);
}

DIR* opendir(const char* name) {
    note(__builtin_return_address(0));
    static const auto next = nextFunction<DIR*(const char*)>("opendir");
    return next(name);
}

int vasprintf(char** text, const char* format, va_list arguments) {
    note(__builtin_return_address(0));
    static const auto next = nextFunction<int(char**, const char*, va_list)>("vasprintf");
    return next(text, format, arguments);
}
}

void* operator new(size_t size) {
    note(__builtin_return_address(0));
    void* memory = __libc_malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        abort();
    }
    return memory;
}

void* operator new[](size_t size) {
    note(__builtin_return_address(0));
    void* memory = __libc_malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        abort();
    }
    return memory;
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    note(__builtin_return_address(0));
    return __libc_malloc(size == 0 ? 1 : size);
}

void* operator new[](size_t size, const std::nothrow_t& /*tag*/) noexcept {
    note(__builtin_return_address(0));
    return __libc_malloc(size == 0 ? 1 : size);
}
