#ifndef FLEET_CORE_FLEET_CSV_H
#define FLEET_CORE_FLEET_CSV_H

#include "FleetReading.h"

#include <string>

/// Readings as CSV: all columns in every row, empty where there is no value.

/// The first line of a file, with its line feed.
std::string FleetCsv_header();

/// Appends one row with its line feed. Texts are quoted where they have to be.
void FleetCsv_append(std::string& text, const FleetReading& reading);

#endif
