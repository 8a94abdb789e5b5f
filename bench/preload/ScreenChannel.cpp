// The screen channel: a thread inside the program under test that answers on the world's
// "screen.sock". A request is a line, its answer everything up to the end of the connection. The
// screen is read by the program's own main loop; this thread only waits for it.

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "Screen.h"
#include "WorldClock.h"
#include "WorldSocket.h"
#include "WorldTree.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <pthread.h>
#include <stdio_ext.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// A text to look for is as long as a line of a manual at most.
constexpr size_t longestRequest = 1024;

/// One request on its way through the main loop. Whoever is the last to let it go frees it, as the
/// loop may come to it after its asker has given up.
struct Request {
    std::atomic<int> users{2};
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t answered = PTHREAD_COND_INITIALIZER;
    bool isAnswered = false;
    bool (*write)(FILE* output, const char* wanted) = nullptr; ///< what is asked for
    std::array<char, longestRequest> wanted{};                 ///< empty: all
    char* text = nullptr;
    size_t size = 0;
};

struct Kind {
    const char* name;
    bool (*write)(FILE* output, const char* wanted);
};
constexpr std::array kinds = {Kind{"list", Screen_list}, Kind{"picture", Screen_picture}};

void letGo(Request* request) {
    if (request->users.fetch_sub(1) == 1) {
        free(request->text);
        pthread_cond_destroy(&request->answered);
        pthread_mutex_destroy(&request->mutex);
        free(request);
    }
}

Request* makeRequest() {
    void* const memory = malloc(sizeof(Request));
    return memory == nullptr ? nullptr : new (memory) Request;
}

/// Runs in the main loop, under the GDK lock.
int answer(void* data) {
    auto* const request = static_cast<Request*>(data);
    FILE* const output = open_memstream(&request->text, &request->size);
    if (output != nullptr) {
        __fsetlocking(output, FSETLOCKING_BYCALLER); // nobody else knows it
        const char* const wanted = request->wanted.data();
        request->write(output, *wanted == '\0' ? nullptr : wanted);
        fclose(output);
    }
    pthread_mutex_lock(&request->mutex);
    request->isAnswered = true;
    pthread_cond_signal(&request->answered);
    pthread_mutex_unlock(&request->mutex);
    letGo(request);
    return 0; // once
}

bool postToMainLoop(Request* request) {
    using AddIdle = unsigned(int, int (*)(void*), void*, void (*)(void*));
    constexpr int priorityDefault = 0;
    auto* const addIdle =
        reinterpret_cast<AddIdle*>(dlsym(RTLD_DEFAULT, "gdk_threads_add_idle_full"));
    return addIdle != nullptr && addIdle(priorityDefault, answer, request, nullptr) != 0;
}

/// True when the main loop has answered within five real seconds.
bool awaitAnswer(Request* request) {
    constexpr double limit_ns = 5e9;
    timespec limit{};
    clock_gettime(CLOCK_REALTIME, &limit);
    limit = WorldClock_timespec(WorldClock_ns(limit) +
                                static_cast<int64_t>(limit_ns * WorldClock_read().speed));
    pthread_mutex_lock(&request->mutex);
    int result = 0;
    while (!request->isAnswered && result != ETIMEDOUT) {
        result = pthread_cond_timedwait(&request->answered, &request->mutex, &limit);
    }
    const bool isAnswered = request->isAnswered;
    pthread_mutex_unlock(&request->mutex);
    return isAnswered;
}

void sendAll(int connection, const char* text, size_t size) {
    while (size > 0) {
        const ssize_t sent = send(connection, text, size, MSG_NOSIGNAL);
        if (sent <= 0 && errno != EINTR) {
            return;
        }
        if (sent > 0) {
            text += sent;
            size -= static_cast<size_t>(sent);
        }
    }
}

void sendText(int connection, const char* text) {
    sendAll(connection, text, strlen(text));
}

void sendScreen(int connection, const Kind& kind, const char* wanted) {
    Request* const request = makeRequest();
    if (request != nullptr) {
        request->write = kind.write;
        snprintf(request->wanted.data(), request->wanted.size(), "%s", wanted);
    }
    if (request == nullptr || !postToMainLoop(request)) {
        free(request);
        sendText(connection, "error: the program has no main loop\n");
        return;
    }
    if (awaitAnswer(request)) {
        sendAll(connection, request->text, request->size);
    } else {
        sendText(connection, "error: the program's main loop does not answer\n");
    }
    letGo(request);
}

void serve(int connection) {
    std::array<char, longestRequest> line{};
    const ssize_t count = recv(connection, line.data(), line.size() - 1, 0);
    if (count > 0) {
        line[strcspn(line.data(), "\r\n")] = '\0';
        char* wanted = line.data() + strcspn(line.data(), " ");
        if (*wanted != '\0') {
            *wanted++ = '\0';
        }
        const auto* const kind = std::find_if(kinds.begin(), kinds.end(), [&line](const Kind& row) {
            return strcmp(line.data(), row.name) == 0;
        });
        if (kind != kinds.end()) {
            sendScreen(connection, *kind, wanted);
        } else {
            sendText(connection, "error: unknown request; allowed: list [TEXT], picture\n");
        }
    }
    close(connection);
}

void* serveForEver(void* listener) {
    const int fd = static_cast<int>(reinterpret_cast<intptr_t>(listener));
    for (;;) {
        const int connection = accept4(fd, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            serve(connection);
        } else if (errno != EINTR && errno != ECONNABORTED) {
            // Out of descriptors, most likely: they come back.
            const timespec pause{0, 100'000'000};
            nanosleep(&pause, nullptr);
        }
    }
}

void startServer() {
    static std::atomic<bool> isStarted{false};
    if (PreloadWorld_folder() == nullptr || isStarted.exchange(true)) {
        return;
    }
    const int listener = WorldSocket_listen(WorldFile::screen, SOCK_STREAM);
    if (listener < 0) {
        return;
    }
    // The program's signals are not this thread's business.
    sigset_t all;
    sigset_t kept;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &kept);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, serveForEver,
                       reinterpret_cast<void*>(static_cast<intptr_t>(listener))) == 0) {
        pthread_setname_np(thread, "benchScreen");
        pthread_detach(thread);
    }
    pthread_sigmask(SIG_SETMASK, &kept, nullptr);
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

// The program's own call of GTK's main loop comes past here.
void gtk_main() {
    static NextFunction<void()> next("gtk_main");
    startServer();
    next();
}

} // extern "C"
#pragma GCC visibility pop
