#ifndef SENSORS_USB_SENSOR_SLOTS_H
#define SENSORS_USB_SENSOR_SLOTS_H

#include <cstdint>

/// The two slots USB1 and USB2, and how a device's descriptor changes hands: detection opens device
/// nodes and offers their descriptors; the slot's handler thread takes them, uses them and alone
/// closes them. Detection only requests that. So no call ever reaches a descriptor number that has
/// been given to another file. Slots are 0 and 1; all functions lock for copying only.

// For detection.

/// True when a slot has this node open.
bool UsbSensorSlots_hasNode(const char* name);

/// Gives a newly opened node to the free slot of the lower number; false when there is none, and
/// the descriptor stays the caller's.
bool UsbSensorSlots_offer(const char* name, int fd);

/// The node has gone: the slot that had it is free again, and its handler is asked to close.
void UsbSensorSlots_release(const char* name);

/// True when a device belongs to the slot.
bool UsbSensorSlots_isOpen(uint32_t slot);

/// What has become of a slot's device according to its handler.
enum class UsbSlotLoss {
    none,
    replaced, ///< the handler lost a device that another one has replaced already
    lost      ///< the handler lost the present device
};

/// Tells of a loss, and the slot's node name (at most `size` - 1 characters). A slot without a node
/// has lost nothing.
UsbSlotLoss UsbSensorSlots_getLoss(uint32_t slot, char* name, uint32_t size);

/// A lost device has been opened again under the same name.
void UsbSensorSlots_offerAgain(uint32_t slot, int fd);

/// A loss has been dealt with.
void UsbSensorSlots_forgetLoss(uint32_t slot);

// For the slot's handler thread.

/// What the handler has to do about its descriptor.
struct UsbSlotChange {
    bool hasChanged;
    int fd; ///< the device to use from now on, -1 for none; the caller closes its former one
};

/// Takes the slot's present device if it is another one than the handler has.
UsbSlotChange UsbSensorSlots_take(uint32_t slot);

/// The handler found the device gone: detection shall open it again if the node is still there.
void UsbSensorSlots_reportLost(uint32_t slot);

#endif
