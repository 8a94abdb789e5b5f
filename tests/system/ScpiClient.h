#ifndef TESTS_SYSTEM_SCPI_CLIENT_H
#define TESTS_SYSTEM_SCPI_CLIENT_H

#include "Bench.h"

#include <string>

/// A remote client of the meter on a bench, over TCP.
class ScpiClient {
public:
    /// Connects, for as long as the meter takes to listen.
    explicit ScpiClient(const Bench& bench);
    ~ScpiClient();
    ScpiClient(const ScpiClient&) = delete;
    ScpiClient& operator=(const ScpiClient&) = delete;

    bool isConnected() const {
        return fd >= 0;
    }
    /// Gone without a packet, as with a pulled cable. False where only root may do that.
    bool vanish();
    bool send(const std::string& line);

    /// The answer's line without its end; empty when none comes within 5 s.
    std::string ask(const std::string& query);

private:
    int fd = -1;
};

#endif
