#ifndef TESTS_UNIT_REMOTE_SERIAL_TERMINAL_H
#define TESTS_UNIT_REMOTE_SERIAL_TERMINAL_H

#include <cstdint>
#include <string>
#include <string_view>

/// The command port of this process's world, open, and a host at the other end of its cable.
class SerialTerminal {
public:
    SerialTerminal();
    ~SerialTerminal();
    SerialTerminal(const SerialTerminal&) = delete;
    SerialTerminal& operator=(const SerialTerminal&) = delete;

    /// The device goes, and comes back as a new one that has forgotten its settings; the program's
    /// descriptor is left alone.
    void unplug();
    void plugAgain();

    void send(std::string_view bytes) const;
    /// What arrives up to a line feed, or until the limit has gone by.
    std::string readLine(uint32_t limit_ms = 5000);
    /// Everything that arrives until it has been quiet for so long.
    std::string readUntilQuiet(uint32_t quiet_ms);

private:
    bool receive(uint32_t limit_ms);

    int host;
    std::string received;
};

#endif
