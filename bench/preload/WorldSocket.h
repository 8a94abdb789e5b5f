#ifndef BENCH_PRELOAD_WORLD_SOCKET_H
#define BENCH_PRELOAD_WORLD_SOCKET_H

/// Local sockets that lie in the world's folder. They work however long the folder's name is.

/// A listening socket of the name, replacing one that an earlier process left. -1 on failure.
int WorldSocket_listen(const char* name, int type);

/// A socket connected to the one of the name. -1 on failure, errno tells.
int WorldSocket_connect(const char* name, int type);

#endif
