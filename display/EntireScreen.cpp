#include "EntireScreen.h"

MAIN_WINDOW entireScreen;

GtkWidget** EntireScreen_field(ScreenContainer container, SensorDisplayInstance_t display) {
    const auto index = static_cast<size_t>(container);
    GtkWidget** const field = entireScreenFields[index];
    return ScreenTable_existsTwice(screenContainers[index]) ? field + display : field;
}
