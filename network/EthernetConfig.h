#ifndef NETWORK_ETHERNET_CONFIG_H
#define NETWORK_ETHERNET_CONFIG_H

#include "EthernetUtilities.h"

/// The LAN configuration of the wired interface while it is shown or edited.

enum ethernetMethod : int { ethernetMethodDhcp = 0, ethernetMethodStatic = 1 };

struct ethConfigIp {
    char address[ethernetTextSize];
    char netmask[ethernetTextSize];
    char gateway[ethernetTextSize];
};
using ETHCONFIG_IP_S = ethConfigIp;

/// The values that are being edited.
struct ethConfigNewIp {
    int method; ///< ethernetMethod
    char ip[ethernetTextSize];
    char address[ethernetTextSize];
    char netmask[ethernetTextSize];
    char gateway[ethernetTextSize];
};
using ETHCONFIG_NEWIP_S = ethConfigNewIp;

struct ethConfig {
    int method;              ///< ethernetMethod
    ETHCONFIG_IP_S ipDhcp;   ///< the current values, filled into the one
    ETHCONFIG_IP_S ipStatic; ///< that matches the method
    ETHCONFIG_NEWIP_S newIp;
    bool (*checkIp)(const char* text);      ///< validate_ip
    bool (*checkNetmask)(const char* text); ///< validate_netmask
};
using ETHCONFIG_S = struct ethConfig;

/// The record of the LAN dialogs while there are any, else null.
extern ETHCONFIG_S* ethConfig;

/// Makes an empty record; failure is logged and leaves null. Frees an earlier one.
void initEthConfig();
void destroyEthConfig();

/// Fills in the method that the interfaces file gives the interface, and the values with which it
/// runs. Values that it does not have are left alone, and so is everything when the method is
/// unknown.
void ethernetGetConfig(ETHCONFIG_S* config);

/// Takes over the edited values and writes the interfaces file. A static address of fewer than 7
/// characters writes nothing, sets the edited method back, and gives false.
bool ethernetSetConfig(ETHCONFIG_S* config);

#endif
