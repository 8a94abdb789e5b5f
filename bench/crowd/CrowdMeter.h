#ifndef BENCH_CROWD_CROWD_METER_H
#define BENCH_CROWD_CROWD_METER_H

#include "scpi/scpi.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/// One meter of a crowd: it answers what is asked about measurements and identities as the meter
/// does, from signals of its own, by the same parser library.

struct CrowdMeter {
    size_t number = 1;   ///< from 1 on
    size_t channels = 1; ///< with a sensor, 0 to 2
    std::string sensor;  ///< model of its sensors
    bool hasReadings = true;
    int64_t now_ns = 0;  ///< time at which the line is answered
    std::string replies; ///< what is to be sent
    scpi_t context{};
    std::array<char, 256> input{};
    std::array<scpi_error_t, 17> errors{};
};

/// Fills in what is left; the meter must stay where it is from then on.
void CrowdMeter_initialize(CrowdMeter& meter);

/// Runs whole and broken lines; what is to be answered is appended to `replies`.
void CrowdMeter_receive(CrowdMeter& meter, std::string_view bytes, int64_t now_ns);

/// Forgets a command of which only the begin has come, as the meter does when its client hangs up.
void CrowdMeter_forgetInput(CrowdMeter& meter);

// What meter and channel (1 or 2) measure at a time.
double CrowdMeter_forward_W(size_t number, size_t channel, int64_t now_ns);
double CrowdMeter_reflected_W(size_t number, size_t channel, int64_t now_ns);

/// "90000001" for the first meter.
std::string CrowdMeter_serial(size_t number);

#endif
