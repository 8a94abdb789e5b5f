#ifndef BENCH_SENSORS_PLUG_AND_PLAY_316X_H
#define BENCH_SENSORS_PLUG_AND_PLAY_316X_H

#include "SensorInput.h"

#include <string>

/// The plug-and-play file of the USB sensors: what a sensor can measure and within which limits, in
/// blocks of definite length.

/// The file of a model with these limits.
std::string PlugAndPlay316x_file(const std::string& model, const SensorInput& input);
int PlugAndPlay316x_blockCount(const std::string& file);

/// "#3", three digits of length, and that many bytes; length 0 for a block that is not there.
/// Blocks are counted from 1.
std::string PlugAndPlay316x_block(const std::string& file, int number);

#endif
