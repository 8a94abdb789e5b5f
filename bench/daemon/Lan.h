#ifndef BENCH_DAEMON_LAN_H
#define BENCH_DAEMON_LAN_H

#include <string>

/// The instrument's wired network as its restart leaves it: the addresses and the route that the
/// program sees follow the interfaces file.

struct Lan {
    std::string world;
    std::string lease; ///< "ADDRESS NETMASK" that the network's DHCP server gives
};

/// The lease is the address with which the world begins, if its file asks for one.
void Lan_open(Lan& lan, const std::string& world);

/// Gives the interfaces what the file asks for now.
void Lan_restart(const Lan& lan);

#endif
