#ifndef APP_SENSOR_CHANGES_H
#define APP_SENSOR_CHANGES_H

/// Brings the displays up to date with the sensors that came and went: disconnections first, then
/// the channels (the user may be asked), then connections. gtkThread, GDK lock held.
void SensorChanges_handle();

#endif
