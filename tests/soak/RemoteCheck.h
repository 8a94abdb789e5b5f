#ifndef TESTS_SOAK_REMOTE_CHECK_H
#define TESTS_SOAK_REMOTE_CHECK_H

#include "Soak.h"

/// Asks one SCPI question on TCP and one on the command port, both on their way at once, and
/// compares each reply with the truth. A reply that does not come within soakReplyLimit_ms is lost.
void RemoteCheck_ask(Soak& soak);

/// A line on one link, with its reply, for actions that need one. Empty when it is lost, which is
/// then a finding.
std::string RemoteCheck_exchange(Soak& soak, Link& link, const std::string& line,
                                 int limit_ms = soakReplyLimit_ms);

/// The answer to SENS:FREQ? and SYST:ERR? on one line is this frequency, without an error: the
/// meter rounds it to seven places in 32 bits on its way.
bool RemoteCheck_isFrequency(const std::string& reply, double frequency_MHz);

/// A burst over TCP, however long: as many replies as queries, in their order.
void RemoteCheck_burst(Soak& soak);

/// Connects to the TCP port anew, as another client does.
void RemoteCheck_reconnect(Soak& soak);

/// What asks for no sensor and never changes; sets the identity.
bool RemoteCheck_begin(Soak& soak);

#endif
