#ifndef TESTS_SOAK_SOAK_H
#define TESTS_SOAK_SOAK_H

#include "Bench.h"
#include "Links.h"
#include "Report.h"
#include "Truth.h"

#include <map>
#include <random>
#include <string>

/// One soak run: the meter on its bench, its links, and what must be true of it.

enum class SoakProtocol { scpi, legacy };

/// Choices of the meter's user that decide what the screens show.
struct SoakSettings {
    bool isdBm = false;
    bool showsForward = true;
    bool showsReflected = true;
    bool showsMatch = true;
    int matchType = 0;
    bool showsGraph = false;
    bool isPulse = false;
};

struct Soak {
    Bench bench;
    Truth truth;
    Report report;
    std::mt19937_64 random;
    SoakProtocol protocol = SoakProtocol::scpi;
    Link tcp;
    Link terminal;        ///< SCPI, or the older meter's protocol
    std::string identity; ///< what *IDN? answered first
    SoakSettings settings;
    SoakSettings settingsBefore;
    SoakTime settingsChanged;
    SoakTime supplyChanged;
    SoakTime presenceAllowed; ///< no plug or pull before
    SoakTime watchedUntil;    ///< little happens before
    int legacyRange = -1;     ///< negative: automatic
    bool legacyReflected = false;
    bool legacyTrigger5 = false;
};

/// A whole number from `from` to `to`, and a power of three digits between two on a logarithmic
/// scale.
int Soak_pick(Soak& soak, int from, int to);
double Soak_pickPower(Soak& soak, double from_W, double to_W);

/// A setting of the meter was changed: screens may lag a moment behind.
void Soak_changeSettings(Soak& soak, const SoakSettings& settings);

/// Values of the settings file by their keys.
std::map<std::string, std::string> Soak_settingsFile(const Soak& soak);

/// Takes the settings from the file, so that one that is wrong is found once and not at every
/// check.
void Soak_believeSettingsFile(Soak& soak);

/// Real milliseconds for so many seconds on the meter's clock, a busy machine's pause included.
uint32_t Soak_limit_ms(const Soak& soak, double meter_s);

#endif
