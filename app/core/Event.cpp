#include "Event.h"

#include "message.h"

#include <cstdint>
#include <cstring>

namespace {

/// Logs a failed pthread call and ends the calling thread, as the header promises. pthread_exit
/// unwinds the stack, so no caller of an event may be noexcept or run below a std::thread.
void endThreadOnError(int line, const char* function, const char* call, int error) {
    if (error == 0) {
        return;
    }
    char text[128] = "";
    const char* reason = strerror_r(error, text, sizeof text);
    diagnostic_message(LOG_DEBUG, "DIAGNOSTIC:%s:%d:%s(): %s: %s\n", message_fileName(__FILE__),
                       line, function, call, reason);
    USER_ERROR("\n");
    pthread_exit(reinterpret_cast<void*>(static_cast<intptr_t>(error)));
}

void lock(Event_t* event, const char* function) {
    endThreadOnError(__LINE__, function, "pthread_mutex_lock", pthread_mutex_lock(&event->mutex));
}

void unlock(Event_t* event, const char* function) {
    endThreadOnError(__LINE__, function, "pthread_mutex_unlock",
                     pthread_mutex_unlock(&event->mutex));
}

} // namespace

void Event_Initialize(Event_t* event) {
    event->signalled = false;
    endThreadOnError(__LINE__, __func__, "pthread_mutex_init",
                     pthread_mutex_init(&event->mutex, nullptr));
    endThreadOnError(__LINE__, __func__, "pthread_cond_init",
                     pthread_cond_init(&event->condition, nullptr));
}

void Event_WaitForNext(Event_t* event) {
    lock(event, __func__);
    event->signalled = false;
    while (!event->signalled) {
        const int error = pthread_cond_wait(&event->condition, &event->mutex);
        if (error != 0) {
            pthread_mutex_unlock(&event->mutex); // signallers must not hang behind a dead waiter
        }
        endThreadOnError(__LINE__, __func__, "pthread_cond_wait", error);
    }
    event->signalled = false;
    unlock(event, __func__);
}

void Event_Signal(Event_t* event) {
    lock(event, __func__);
    event->signalled = true;
    unlock(event, __func__);
    endThreadOnError(__LINE__, __func__, "pthread_cond_signal",
                     pthread_cond_signal(&event->condition));
}
