#ifndef BENCH_SENSORS_PLUG_AND_PLAY_316X_H
#define BENCH_SENSORS_PLUG_AND_PLAY_316X_H

#include "Sensor316x.h"

/// The plug-and-play file of the USB sensors: what a sensor can measure and within which limits, in
/// blocks of definite length.

std::string PlugAndPlay316x_file(const Sensor316x& sensor);
int PlugAndPlay316x_blockCount(const Sensor316x& sensor);

/// "#3", three digits of length, and that many bytes; length 0 for a block that is not there.
std::string PlugAndPlay316x_block(const Sensor316x& sensor, int number);

#endif
