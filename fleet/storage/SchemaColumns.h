#ifndef FLEET_STORAGE_SCHEMA_COLUMNS_H
#define FLEET_STORAGE_SCHEMA_COLUMNS_H

/// The values of a reading as the first schema of every database has them. A schema that has been
/// given away stays as it is: a later one brings it forward.
#define FLEET_SCHEMA_1_VALUES                                                                      \
    "forward_W REAL, forward_min_W REAL, forward_max_W REAL, "                                     \
    "reflected_W REAL, reflected_min_W REAL, reflected_max_W REAL, vswr REAL, "                    \
    "frequency_MHz REAL, temperature_C REAL, duty_percent REAL, period_us REAL, prf_Hz REAL, "     \
    "width_us REAL, gate_mean_W REAL, gate_max_W REAL, gate_min_W REAL, "                          \
    "state1_mean_W REAL, state1_max_W REAL, state1_min_W REAL, "                                   \
    "state2_mean_W REAL, state2_max_W REAL, state2_min_W REAL, "                                   \
    "state3_mean_W REAL, state3_max_W REAL, state3_min_W REAL, "                                   \
    "state4_mean_W REAL, state4_max_W REAL, state4_min_W REAL"

#endif
