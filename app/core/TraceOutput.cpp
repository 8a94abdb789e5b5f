#include "TraceOutput.h"

#include "RetryInterrupted.h"
#include "Threads.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <string_view>
#include <unistd.h>

namespace {

constexpr size_t bufferSize = 65536;
constexpr size_t pieceSize = 4096;

struct TraceBuffer {
    pthread_mutex_t mutex;
    pthread_cond_t filled;
    pthread_cond_t written;
    bool hasWriter;
    std::array<char, bufferSize> bytes; ///< a ring
    size_t first;                       ///< index of the oldest byte
    size_t count;
    unsigned lostLines; ///< since the last that fitted
};

TraceBuffer& buffer() {
    static TraceBuffer record = [] {
        TraceBuffer fresh{};
        pthread_mutex_init(&fresh.mutex, nullptr);
        Condition_initialize(&fresh.filled);
        Condition_initialize(&fresh.written);
        return fresh;
    }();
    return record;
}

size_t roomIn(const TraceBuffer& trace) {
    return bufferSize - trace.count;
}

/// There is room for it.
void append(TraceBuffer& trace, std::string_view text) {
    for (const char byte : text) {
        trace.bytes[(trace.first + trace.count) % bufferSize] = byte;
        ++trace.count;
    }
}

/// The same, each "%%" as "%".
void appendUnescaped(TraceBuffer& trace, std::string_view text) {
    for (size_t percent = text.find("%%"); percent != std::string_view::npos;
         percent = text.find("%%")) {
        append(trace, text.substr(0, percent + 1));
        text.remove_prefix(percent + 2);
    }
    append(trace, text);
}

/// Says how many lines are missing here, once there is room for that and `further` bytes. False if
/// there is not.
bool appendLoss(TraceBuffer& trace, size_t further) {
    std::array<char, 32> notice{};
    if (trace.lostLines > 0) {
        snprintf(notice.data(), notice.size(), "%u lines lost\n", trace.lostLines);
    }
    const std::string_view text(notice.data());
    if (text.size() + further > roomIn(trace)) {
        return false;
    }
    append(trace, text);
    trace.lostLines = 0;
    return true;
}

/// Writes a piece to the end, whether the other side reads at once, later, or has gone.
void writeOut(const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t written =
            retryInterrupted([&] { return write(STDOUT_FILENO, bytes, count); });
        if (written > 0) {
            bytes += written;
            count -= static_cast<size_t>(written);
        } else if (errno == EAGAIN) {
            pollfd output{STDOUT_FILENO, POLLOUT, 0};
            poll(&output, 1, -1);
        } else {
            return;
        }
    }
}

/// The oldest bytes, at most a piece of them; waits until there are some. They keep their place in
/// the buffer until they are written.
size_t takePiece(TraceBuffer& trace, std::array<char, pieceSize>& piece) {
    const ScopedLock lock(trace.mutex);
    while (trace.count == 0 && trace.lostLines == 0) {
        pthread_cond_wait(&trace.filled, &trace.mutex);
    }
    if (trace.count == 0) {
        appendLoss(trace, 0);
    }
    const size_t size = std::min({trace.count, pieceSize, bufferSize - trace.first});
    memcpy(piece.data(), trace.bytes.data() + trace.first, size);
    return size;
}

void removePiece(TraceBuffer& trace, size_t size) {
    const ScopedLock lock(trace.mutex);
    trace.first = (trace.first + size) % bufferSize;
    trace.count -= size;
    if (trace.count == 0) {
        pthread_cond_broadcast(&trace.written);
    }
}

void traceWriterThread() {
    TraceBuffer& trace = buffer();
    std::array<char, pieceSize> piece{};
    for (;;) {
        const size_t size = takePiece(trace, piece);
        writeOut(piece.data(), size);
        removePiece(trace, size);
    }
}

/// A thread that cannot be started is tried again with the next text.
void startWriter(TraceBuffer& trace) {
    if (!trace.hasWriter) {
        pthread_t thread{};
        trace.hasWriter = Thread_start(&thread, "traceWriter", traceWriterThread) == 0;
    }
}

} // namespace

void TraceOutput_write(const char* text, bool isUnescaped) {
    TraceBuffer& trace = buffer();
    const std::string_view whole(text);
    const ScopedLock lock(trace.mutex);
    if (!appendLoss(trace, whole.size())) {
        ++trace.lostLines;
    } else if (isUnescaped) {
        appendUnescaped(trace, whole);
    } else {
        append(trace, whole);
    }
    startWriter(trace);
    pthread_cond_signal(&trace.filled);
}

bool TraceOutput_flush(uint32_t limit_ms) {
    TraceBuffer& trace = buffer();
    const timespec deadline = Thread_deadline(limit_ms);
    const ScopedLock lock(trace.mutex);
    int error = 0;
    while (trace.count + trace.lostLines > 0 && error == 0) {
        error = pthread_cond_timedwait(&trace.written, &trace.mutex, &deadline);
    }
    return trace.count + trace.lostLines == 0;
}
