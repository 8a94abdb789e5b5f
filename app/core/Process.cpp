#include "Process.h"

#include "LogManager.h"

#include <cstdio>
#include <unistd.h>

void Process_leave(int status) {
    LogManager_flush();
    fflush(nullptr);
    _exit(status);
}
