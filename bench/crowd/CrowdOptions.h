#ifndef BENCH_CROWD_CROWD_OPTIONS_H
#define BENCH_CROWD_CROWD_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

/// How the meters of a crowd misbehave.
enum class CrowdFault {
    none,
    silent,  ///< takes questions and answers nothing
    slow,    ///< answers 400 ms later
    nan,     ///< has no readings, as with sensors that say nothing
    garbage, ///< random bytes in place of each answer
    vanish,  ///< neither answers nor hangs up, and lets nobody in, as with its cable pulled
    restart, ///< hangs up and refuses connections, then is back
};

struct CrowdFaultRange {
    CrowdFault fault = CrowdFault::none;
    size_t first = 1; ///< meters, counted from 1
    size_t last = 1;
};

struct CrowdOptions {
    size_t count = 0;
    uint32_t base = 0x7f080001; ///< address of the first meter; the others follow
    uint16_t port = 5025;
    size_t channels = 1; ///< with a sensor
    std::string sensor = "5132";
    double period_s = 0; ///< faults last the second half of each period; 0: always
    std::vector<CrowdFaultRange> faults;
};

/// Reads the words behind "crowd". False with the reason.
bool CrowdOptions_parse(const std::vector<std::string>& words, CrowdOptions& options,
                        std::string& error);

/// One line for each option, for the help.
std::string CrowdOptions_help();

/// "127.8.0.1" for an address in the host's byte order.
std::string CrowdOptions_address(uint32_t address);

/// The fault of a meter, the last one that was given for it.
CrowdFault CrowdOptions_fault(const CrowdOptions& options, size_t meter);

#endif
