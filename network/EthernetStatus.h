#ifndef NETWORK_ETHERNET_STATUS_H
#define NETWORK_ETHERNET_STATUS_H

#include "EthernetUtilities.h"

/// The wired interface as it runs now, in the words that the user reads. A text is empty where
/// there is nothing to tell.

constexpr size_t ethernetMacSize = 18; ///< "02:88:30:00:00:01" with its terminator

struct EthernetStatus {
    char method[ethernetTextSize]; ///< "DHCP" or "Static"
    char address[ethernetTextSize];
    char netmask[ethernetTextSize];
    char gateway[ethernetTextSize];
    char fixedAddress[ethernetTextSize]; ///< of the alias interface
    char mac[ethernetMacSize];
    char link[ethernetTextSize]; ///< "up" or "down"
    bool isRead;
};

/// Reads everything anew, but the MAC address only when the link is not what the record says: a
/// file that cannot be read is logged once, not at every look. The first look takes an empty
/// record.
void EthernetStatus_refresh(EthernetStatus* status);

#endif
