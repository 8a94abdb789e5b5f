#ifndef DISPLAY_GDK_LOCK_H
#define DISPLAY_GDK_LOCK_H

/// The lock under which widgets are touched. It is a mutex of our own that GDK is given, so that
/// debug builds can check its owner and thread checkers can see it. Not recursive: GTK calls signal
/// handlers with the lock held.

/// Gives the lock to GDK and switches GDK's threading on. Main thread, once, before gtk_init.
void GdkLock_initialize();

void GdkLock_enter();
void GdkLock_leave();

/// True when the calling thread holds the lock.
bool GdkLock_isHeld();

/// Ends a debug build with a message when the calling thread does not hold the lock.
void GdkLock_assertHeld();

/// Holds the lock for the length of a scope.
class ScopedGdkLock {
public:
    ScopedGdkLock() {
        GdkLock_enter();
    }
    ~ScopedGdkLock() {
        GdkLock_leave();
    }
    ScopedGdkLock(const ScopedGdkLock&) = delete;
    ScopedGdkLock& operator=(const ScopedGdkLock&) = delete;
};

/// Lets others have the lock for the length of a scope. The caller holds it before and after.
class ScopedGdkUnlock {
public:
    ScopedGdkUnlock() {
        GdkLock_leave();
    }
    ~ScopedGdkUnlock() {
        GdkLock_enter();
    }
    ScopedGdkUnlock(const ScopedGdkUnlock&) = delete;
    ScopedGdkUnlock& operator=(const ScopedGdkUnlock&) = delete;
};

#endif
