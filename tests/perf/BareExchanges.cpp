// The reference: the messages of a whole measuring cycle, written and read with nothing in between
// but the waits that the sensor is owed.

#include <array>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int rounds = 60;
constexpr useconds_t afterTrigger_us = 10000;
constexpr useconds_t afterCompletion_us = 50000;
constexpr useconds_t idle_us = 20000;

bool send(int fd, const char* message) {
    return write(fd, message, strlen(message)) > 0;
}

bool ask(int fd, const char* query) {
    std::array<char, 64> reply{};
    return send(fd, query) && read(fd, reply.data(), reply.size()) > 0;
}

bool runCycle(int fd) {
    constexpr std::array queries = {"*STB?\n",           "FETC:FORW:AVER?\n", "FETC:REFL:AVER?\n",
                                    "FETC:FREQ?\n",      "FETC:TEMP?\n",      "FETC:PER?\n",
                                    "FETC:PRF?\n",       "FETC:WIDT?\n",      "FETC:DCYC?\n",
                                    "FETC:GATE:MEAN?\n", "FETC:GATE:MAX?\n",  "FETC:GATE:MIN?\n"};
    bool isGood = send(fd, "INIT\n");
    usleep(afterTrigger_us);
    isGood = isGood && ask(fd, "*OPC?\n");
    usleep(afterCompletion_us);
    for (const char* query : queries) {
        isGood = isGood && ask(fd, query);
    }
    usleep(idle_us);
    return isGood;
}

} // namespace

int main() {
    const int fd = open("/dev/usbtmc0", O_RDWR | O_CLOEXEC);
    bool isGood = fd >= 0;
    for (int round = 0; round < rounds && isGood; ++round) {
        isGood = runCycle(fd);
    }
    return isGood ? 0 : 1;
}
