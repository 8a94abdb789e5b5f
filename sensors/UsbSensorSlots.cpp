#include "UsbSensorSlots.h"

#include "SensorPortSignals.h"
#include "Threads.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

struct UsbSlot {
    std::array<char, 32> name; ///< empty when the slot is free
    int offeredFd;             ///< opened, not yet taken by the handler; -1 for none
    uint32_t device;           ///< grows with every device that comes or goes
    uint32_t takenDevice;      ///< the one that the handler knows of
    bool isLost;
};

/// Taken inside no other lock but the sensor manager's, and around none but a port's.
pthread_mutex_t slotMutex = PTHREAD_MUTEX_INITIALIZER;
std::array<UsbSlot, usbSensorCount> slots = {{{{}, -1, 0, 0, false}, {{}, -1, 0, 0, false}}};

bool hasName(const UsbSlot& slot) {
    return slot.name[0] != '\0';
}

UsbSlot* slotOfNode(const char* name) {
    for (UsbSlot& slot : slots) {
        if (hasName(slot) && strcmp(slot.name.data(), name) == 0) {
            return &slot;
        }
    }
    return nullptr;
}

/// Makes a descriptor, or none (-1), the slot's present device. One that its handler has not taken
/// was never used by anyone and is closed here.
void setDevice(UsbSlot* slot, int fd) {
    if (slot->offeredFd >= 0) {
        close(slot->offeredFd);
    }
    slot->offeredFd = fd;
    ++slot->device;
    slot->isLost = false;
    SensorPortSignals_wake(sensorPort_USB1 + static_cast<uint32_t>(slot - slots.data()));
}

} // namespace

bool UsbSensorSlots_hasNode(const char* name) {
    const ScopedLock lock(slotMutex);
    return slotOfNode(name) != nullptr;
}

bool UsbSensorSlots_offer(const char* name, int fd) {
    const ScopedLock lock(slotMutex);
    for (UsbSlot& slot : slots) {
        if (!hasName(slot)) {
            snprintf(slot.name.data(), slot.name.size(), "%s", name);
            setDevice(&slot, fd);
            return true;
        }
    }
    return false;
}

void UsbSensorSlots_release(const char* name) {
    const ScopedLock lock(slotMutex);
    UsbSlot* slot = slotOfNode(name);
    if (slot != nullptr) {
        slot->name = {};
        setDevice(slot, -1);
    }
}

bool UsbSensorSlots_isOpen(uint32_t slot) {
    const ScopedLock lock(slotMutex);
    return slot < usbSensorCount && hasName(slots[slot]);
}

UsbSlotLoss UsbSensorSlots_getLoss(uint32_t slot, char* name, uint32_t size) {
    const ScopedLock lock(slotMutex);
    if (slot >= usbSensorCount || !slots[slot].isLost || !hasName(slots[slot])) {
        return UsbSlotLoss::none;
    }
    snprintf(name, size, "%s", slots[slot].name.data());
    return slots[slot].device == slots[slot].takenDevice ? UsbSlotLoss::lost
                                                         : UsbSlotLoss::replaced;
}

void UsbSensorSlots_offerAgain(uint32_t slot, int fd) {
    const ScopedLock lock(slotMutex);
    if (slot < usbSensorCount) {
        setDevice(&slots[slot], fd);
    }
}

void UsbSensorSlots_forgetLoss(uint32_t slot) {
    const ScopedLock lock(slotMutex);
    if (slot < usbSensorCount) {
        slots[slot].isLost = false;
    }
}

UsbSlotChange UsbSensorSlots_take(uint32_t slot) {
    const ScopedLock lock(slotMutex);
    UsbSlot& taken = slots[slot];
    if (taken.takenDevice == taken.device) {
        return {false, -1};
    }
    taken.takenDevice = taken.device;
    const int fd = taken.offeredFd;
    taken.offeredFd = -1;
    return {true, fd};
}

void UsbSensorSlots_reportLost(uint32_t slot) {
    const ScopedLock lock(slotMutex);
    slots[slot].isLost = true;
}
