#include "GdkLock.h"

#include <gdk/gdk.h>

#include <cassert>
#include <pthread.h>

namespace {

pthread_mutex_t gdkMutex = PTHREAD_MUTEX_INITIALIZER;

// Kept by each thread for itself, so that asking needs no second lock.
thread_local bool heldByThisThread = false;

} // namespace

void GdkLock_initialize() {
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    gdk_threads_set_lock_functions(GdkLock_enter, GdkLock_leave);
    gdk_threads_init();
    G_GNUC_END_IGNORE_DEPRECATIONS
}

void GdkLock_enter() {
    assert(!heldByThisThread && "the GDK lock is not recursive");
    pthread_mutex_lock(&gdkMutex);
    heldByThisThread = true;
}

void GdkLock_leave() {
    assert(heldByThisThread && "the GDK lock is left by a thread that does not hold it");
    heldByThisThread = false;
    pthread_mutex_unlock(&gdkMutex);
}

bool GdkLock_isHeld() {
    return heldByThisThread;
}

void GdkLock_assertHeld() {
    assert(heldByThisThread && "widgets are touched under the GDK lock only");
}
