#ifndef REMOTE_SCPI_TCP_SERVER_H
#define REMOTE_SCPI_TCP_SERVER_H

#include <cstdint>

/// The command set over TCP: one client at a time.

constexpr uint16_t scpiTcpPort = 5025;

/// A listening, non-blocking IPv4 socket on every local address. Exits the process on failure.
int createTcpServer(uint16_t port);

/// Thread: serves clients for ever. Exits the process if it cannot listen.
void scpiTcpServerThread();

#endif
