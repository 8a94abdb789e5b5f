/*
 * Reads the forward power of both channels of a meter over TCP:
 *
 *     $ ./read_power 192.168.1.50
 *     channel 1: 25 W
 *     channel 2: -220,"Parameter error;No sensor connected on the channel"
 */
#include <netdb.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#define TIMEOUT_S 8

/* A connected socket, or -1. */
static int connectTo(const char* host, const char* port) {
    const struct timeval timeout = {TIMEOUT_S, 0};
    struct addrinfo hints;
    struct addrinfo* found = NULL;
    int fd = -1;

    memset(&hints, 0, sizeof hints);
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    if (getaddrinfo(host, port, &hints, &found) != 0) {
        return -1;
    }
    fd = socket(found->ai_family, found->ai_socktype, found->ai_protocol);
    if (fd >= 0) {
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        if (connect(fd, found->ai_addr, found->ai_addrlen) != 0) {
            close(fd);
            fd = -1;
        }
    }
    freeaddrinfo(found);
    return fd;
}

/* Sends a line and reads one reply without its line end. 0, or -1 when none came in time. */
static int ask(int fd, const char* line, char* reply, size_t size) {
    size_t length = 0;
    char byte = 0;

    if (send(fd, line, strlen(line), MSG_NOSIGNAL) < 0) {
        return -1;
    }
    while (recv(fd, &byte, 1, 0) == 1) {
        if (byte == '\n') {
            reply[length] = '\0';
            return 0;
        }
        if (byte != '\r' && length + 1 < size) {
            reply[length++] = byte;
        }
    }
    return -1;
}

/*
 * A query that fails answers nothing, so a second one on the same line asks for the error: the
 * reply is the power and "no error", or the error alone. *CLS forgets the errors of earlier lines.
 */
static int readPower(int fd, int channel) {
    char line[64];
    char reply[256];
    char* end = NULL;

    snprintf(line, sizeof line, "*CLS;:MEAS:AVER? %d;:SYST:ERR?\n", channel);
    if (ask(fd, line, reply, sizeof reply) != 0) {
        return -1;
    }
    end = strchr(reply, ';');
    if (end != NULL && strcmp(end, ";0,\"No error\"") == 0) {
        *end = '\0';
        printf("channel %d: %s W\n", channel, reply);
    } else {
        printf("channel %d: %s\n", channel, reply);
    }
    return 0;
}

int main(int argc, char** argv) {
    int result = 1;
    int fd = -1;

    if (argc < 2) {
        fprintf(stderr, "usage: %s HOST [PORT]\n", argv[0]);
        return 2;
    }
    fd = connectTo(argv[1], argc > 2 ? argv[2] : "5025");
    if (fd >= 0) {
        result = readPower(fd, 1) == 0 && readPower(fd, 2) == 0 ? 0 : 1;
        close(fd);
    }
    if (result != 0) {
        fprintf(stderr, "%s does not answer\n", argv[1]);
    }
    return result;
}
