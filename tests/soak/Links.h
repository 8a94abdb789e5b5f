#ifndef TESTS_SOAK_LINKS_H
#define TESTS_SOAK_LINKS_H

#include <optional>
#include <string>
#include <string_view>

/// A reply that has not come by then is lost, in real time: how quick replies are is measured
/// elsewhere, and a machine may stand still for seconds.
constexpr int soakReplyLimit_ms = 20000;

/// The remote side of the meter: one end of a TCP connection or of the command port's cable.
class Link {
public:
    Link() = default;
    ~Link();
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /// Connects to the meter's TCP port, for as long as it takes to listen; false after 10 s.
    bool connectTcp(const std::string& world);
    bool openTerminal(const std::string& world);
    void hangUp();
    /// Is gone without a word to the meter, like a laptop that is closed. False, and hung up, where
    /// the system allows that to nobody but the administrator.
    bool vanish();

    bool send(std::string_view bytes) const;
    /// One line with its line feed; nothing when none has come within the limit.
    std::optional<std::string> readLine(int limit_ms);

private:
    int end = -1;
    std::string received;
};

#endif
