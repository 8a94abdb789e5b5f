#ifndef APP_HW_POLLING_THREAD_H
#define APP_HW_POLLING_THREAD_H

#include "SensorTypes.h"

/// What the hardware polling thread remembers from one pass to the next.
struct HwPollingState {
    CONNECTED_SENSORS previous; ///< record of the last detection cycle
};

/// One pass: battery, one detection cycle handed to gtkThread and, once `quit` is set, the ports'
/// disconnection and the power-off sequence.
void HwPolling_pass(HwPollingState* state);

/// Makes a record report every sensor as removed; the next cycle finds them again.
CONNECTED_SENSORS HwPolling_reportAllRemoved(const CONNECTED_SENSORS& previous,
                                             const CONNECTED_SENSORS& current);

/// Thread: a pass every 500 ms.
void hwPollingThread();

#endif
