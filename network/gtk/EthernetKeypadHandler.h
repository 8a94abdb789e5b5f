#ifndef NETWORK_ETHERNET_KEYPAD_HANDLER_H
#define NETWORK_ETHERNET_KEYPAD_HANDLER_H

#include "CKeypadManager.h"
#include "DialogHelpers.h"

#include <array>
#include <span>

/// The numeric keypad of the LAN settings. It edits the touched entry at its cursor; a selection is
/// replaced. Main thread, GDK lock held.

constexpr int ethernetEntryCount = 3;

struct numKeypad {
    bool textIsSelected;
    int position; ///< of the cursor
    int len;      ///< of the text
    bool isNumpadDisplayed;
    int entryIndex;                                       ///< place of the target in the list
    std::array<GtkWidget*, ethernetEntryCount> entryList; ///< address, netmask, gateway
    GtkWidget* currentNumPadTarget;                       ///< null while nothing is edited
    GtkWidget* numKeypadTable;
    CKeypadManager_Instance manager; ///< what the keys do
};
extern struct numKeypad ethernetKeypad;

/// Takes over a newly built dialog's keys and entries; the keypad is not shown yet.
void EthernetKeypad_begin(GtkBuilder* builder,
                          const std::array<GtkWidget*, ethernetEntryCount>& entries);

/// Opens the keypad for an entry of the list, whose whole text is selected; null closes it.
void EthernetKeypad_setTarget(GtkWidget* entry);

/// Forgets the dialog.
void EthernetKeypad_end();

/// The handlers that the interface file names.
std::span<const DialogHandler> EthernetKeypad_handlers();

#endif
