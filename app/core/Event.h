#ifndef APP_CORE_EVENT_H
#define APP_CORE_EVENT_H

#include <pthread.h>

/// A one-shot event: one thread waits, any number of threads signal.
///
/// A failing pthread call is logged with its name and ends the calling thread (not the process)
/// with the error number as the thread's exit value.
struct Event_t {
    pthread_mutex_t mutex;
    pthread_cond_t condition;
    bool signalled;
};

void Event_Initialize(Event_t* event);

/// Waits for the next signal. A signal given before the call is forgotten: the waiter is interested
/// only in a completion that follows its own request.
void Event_WaitForNext(Event_t* event);

/// Signals the waiter.
void Event_Signal(Event_t* event);

#endif
