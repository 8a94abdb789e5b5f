#ifndef BENCH_DAEMON_LAN_H
#define BENCH_DAEMON_LAN_H

#include <string>
#include <string_view>

/// The instrument's wired network as its restart leaves it: the addresses and the route that the
/// program sees follow the interfaces file.

struct Lan {
    std::string world;
    std::string lease; ///< "ADDRESS NETMASK" that the network's DHCP server gives
};

/// The lease is the address with which the world begins, if its file asks for one.
void Lan_open(Lan& lan, const std::string& world);

/// Gives the interfaces what the file asks for now: a lease only while there is a link.
void Lan_restart(const Lan& lan);

/// Changes one thing about the wired interface: "link" ("up" or "down"), "mac" (any text, as the
/// file of the kernel holds it) or "lease" ("ADDRESS/NETMASK", for the next restart). False, with
/// what would be allowed, if that is none.
bool Lan_set(Lan& lan, std::string_view key, std::string_view value, std::string& error);

/// One line: the link and the MAC address as the instrument's files have them.
std::string Lan_describe(const Lan& lan);

#endif
