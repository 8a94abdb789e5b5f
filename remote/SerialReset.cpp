#include "SerialReset.h"

#include "Configuration.h"

void SerialReset_HandleCommand() {
    resetConfigToDefaults();
}
