#ifndef BENCH_WORLD_LOCAL_SOCKET_H
#define BENCH_WORLD_LOCAL_SOCKET_H

#include <string>

/// Unix sockets inside a world. A socket address holds 107 characters only; these functions reach
/// any path through a descriptor of its folder. Descriptors are close-on-exec; -1 on failure.

/// Makes a listening, non-blocking socket of the type (SOCK_STREAM, SOCK_SEQPACKET); an old socket
/// of that name is replaced.
int LocalSocket_listen(const std::string& path, int type);

/// Connects, blocking.
int LocalSocket_connect(const std::string& path, int type);

/// Sends a line and reads the answer to the end of the stream, within the limit. False when there
/// was nobody, or not the whole answer.
bool LocalSocket_ask(const std::string& path, const std::string& line, int limit_ms,
                     std::string& answer);

#endif
