#ifndef TESTS_SYSTEM_SCPI_CLIENT_H
#define TESTS_SYSTEM_SCPI_CLIENT_H

#include "Bench.h"

#include <optional>
#include <string>

/// A remote client of the meter on a bench, over TCP or at the command port.
class ScpiClient {
public:
    enum class Wire { tcp, commandPort };

    /// Connects, for as long as the meter takes to listen, or to answer at the command port.
    explicit ScpiClient(const Bench& bench, Wire wire = Wire::tcp);
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

    /// The bytes of the answer's definite-length block; nothing when none comes, or no whole one,
    /// or anything behind it but the line's end.
    std::optional<std::string> askBlock(const std::string& query);

private:
    void openCommandPort(const Bench& bench);
    /// What comes within 5 s, at most this many bytes.
    std::string receive(size_t size) const;

    int fd = -1;
};

#endif
