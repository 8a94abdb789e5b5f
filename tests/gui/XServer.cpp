#include "XServer.h"

#include <X11/extensions/XTest.h>
#include <gdk/gdkx.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

std::string XServer_start() {
    int numberPipe[2];
    if (pipe2(numberPipe, 0) != 0) {
        return "";
    }
    const pid_t server = fork();
    if (server == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        unsetenv("LD_PRELOAD");
        close(numberPipe[0]);
        // It tells of every display that it finds taken.
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDERR_FILENO);
        char descriptor[16];
        snprintf(descriptor, sizeof descriptor, "%d", numberPipe[1]);
        execlp("Xvfb", "Xvfb", "-displayfd", descriptor, "-screen", "0", "1024x768x24", "-nolisten",
               "tcp", "-noreset", nullptr);
        _exit(127);
    }
    close(numberPipe[1]);
    std::string display = ":";
    char digit = 0;
    while (read(numberPipe[0], &digit, 1) == 1 && digit != '\n') {
        display += digit;
    }
    close(numberPipe[0]);
    return display.size() > 1 ? display : "";
}

void XServer_movePointer(int x, int y) {
    Display* display = gdk_x11_get_default_xdisplay();
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XSync(display, False);
}

void XServer_button(bool isPressed) {
    Display* display = gdk_x11_get_default_xdisplay();
    XTestFakeButtonEvent(display, 1, isPressed ? True : False, CurrentTime);
    XSync(display, False);
}

void XServer_synchronise() {
    XSync(gdk_x11_get_default_xdisplay(), False);
}
