#ifndef NETWORK_ETHERNET_UTILITIES_H
#define NETWORK_ETHERNET_UTILITIES_H

#include <cstddef>
#include <netinet/in.h>

/// The wired interface as it runs, and as the network interfaces file configures it.

/// The interface that the instrument's LAN settings are of.
constexpr const char* ethernetInterfaceName = "eth0";

constexpr size_t ethernetTextSize = 16; ///< a dotted-quad text with its terminator

/// The getters return a buffer of the calling thread, valid until its next call of the same getter;
/// empty when there is nothing to tell. Failures are logged.
const char* get_mac_address(const char* name);
const char* get_ip_address(const char* name);
const char* get_netmask(const char* name);

/// Gateway of the default route, of whatever interface: the name is not used, and stays so. Null
/// when there is no default route.
const char* get_gateway(const char* name);

/// Reads an interface's method (0 = DHCP, 1 = static, -1 = other or unknown) and the values of its
/// static stanza. The texts have ethernetTextSize characters, longer values are cut; each may be
/// null. Returns 0, or 1 when the name is empty or the file cannot be read.
int get_conf_inet(const char* name, int* method, char* address, char* netmask, char* gateway);

/// Replaces the interface's stanza and keeps everything else byte for byte. The file is replaced
/// whole. Returns 0, or 1, with the file as it was, when it cannot be read or written or has no
/// stanza of this interface; the log tells the latter two.
int set_conf_inet(const char* name, int method, const char* address, const char* netmask,
                  const char* gateway);

/// Removes what writers of the network interfaces file have left beside it that were killed, as by
/// a power cut. Called once at start-up, before this process writes the file.
void network_removeAbandonedFiles();

/// True while an interface of this machine has the IPv4 address, and when that cannot be told.
bool Ethernet_isOwnAddress(in_addr address);

/// Restarts networking and waits for it, then tells the listener.
void network_restart();

/// Registers who is told, on the restarting thread, that networking has been restarted.
void network_registerRestartListener(void (*listener)());

/// True when every character is a decimal digit; so is an empty text.
bool validate_number(const char* text);

/// True for four numbers of 0 to 255 between single dots.
bool validate_ip(const char* text);

/// True when the four numbers' ones stand together at the top, and there is at least one.
bool validate_netmask(const char* text);

#endif
