// The reference: the queries of a pulse measurement, written and read with nothing in between.

#include <array>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

int main() {
    constexpr int rounds = 300;
    constexpr std::array queries = {"FETC:FORW:AVER?\n", "FETC:REFL:AVER?\n", "FETC:FREQ?\n",
                                    "FETC:TEMP?\n",      "FETC:PER?\n",       "FETC:PRF?\n",
                                    "FETC:WIDT?\n",      "FETC:DCYC?\n",      "FETC:GATE:MEAN?\n",
                                    "FETC:GATE:MAX?\n",  "FETC:GATE:MIN?\n"};
    const int fd = open("/dev/usbtmc0", O_RDWR | O_CLOEXEC);
    std::array<char, 64> reply{};
    bool isGood = fd >= 0;
    for (int round = 0; round < rounds && isGood; ++round) {
        for (const char* query : queries) {
            isGood = isGood && write(fd, query, strlen(query)) > 0 &&
                     read(fd, reply.data(), reply.size()) > 0;
        }
        usleep(5000);
    }
    return isGood ? 0 : 1;
}
