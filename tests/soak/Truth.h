#ifndef TESTS_SOAK_TRUTH_H
#define TESTS_SOAK_TRUTH_H

#include "Report.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

/// What the bench's sensors are and measure, and which of them the meter must therefore show where.
///
/// The meter follows a change within a time, not at once. Until that has gone by, the value before
/// the change is as good as the one after it; a port whose fault has just ended has longer.
///
/// Ports are the meter's: its USB1 is the USB sensor that came first, whichever the bench's node.

constexpr size_t soakPortCount = 4;
constexpr size_t soakFirstUsb = 2;
constexpr size_t soakChannelCount = 2;

/// Times in seconds of the meter's clock, unless they are said to be real.
namespace soakTimes {
constexpr double follow = 4;         ///< a new value is on the screen and in the mirror
constexpr double layout = 4;         ///< a plugged or pulled sensor is seen
constexpr double connectSerial = 12; ///< found, identified and measuring
constexpr double connectUsb = 20;
constexpr double recoverSerial = 12; ///< after the end of a fault
constexpr double recoverUsb = 45;    ///< a lost answer's time-out included
/// A sensor's last value is called old by then, and not before.
constexpr double callsOld = 7;
constexpr double isNotOld = 3;
constexpr double presenceGap = 2;   ///< between two changes that must not fall into one poll
constexpr double machineReal = 1.5; ///< real; a busy machine stands still now and then
} // namespace soakTimes

struct TruthValue {
    double forward_W;
    double reflected_W;
    std::optional<SoakTime> replaced; ///< nothing: it is the present one
};

struct PortTruth {
    bool isPlugged = false;
    std::string bench; ///< the bench's name of the port
    std::string model;
    std::string title; ///< what the screen calls it
    std::string serial;
    bool isTitleKnown = true; ///< a fault may have falsified the identity
    bool isConnected = false; ///< admitted by the meter
    int channel = -1;         ///< 0 or 1 once it has one
    double max_W = 0;
    double min_W = 0;
    double frequency_Hz = 0;
    double temperature_C = 0;
    double period_s = 0;
    double width_s = 0;
    std::vector<TruthValue> values;
    SoakTime connected;           ///< admitted and given a channel
    SoakTime changed;             ///< frequency, temperature or pulse
    std::string fault;            ///< empty: none
    bool falsifies = false;       ///< the fault makes readings up
    bool hasFallenSilent = false; ///< it measured, and the fault ended that
    SoakTime faultBegan;
    SoakTime faultEnded;
    double recover_s = 0; ///< of the last fault
};

struct Truth {
    double speed = 1;
    std::array<PortTruth, soakPortCount> ports;
    std::array<int, 2> slots = {-1, -1}; ///< the two sensors that are admitted
    SoakTime presenceChanged;            ///< last plug, pull or answer of the dialog
};

constexpr bool Truth_isUsb(size_t port) {
    return port >= soakFirstUsb;
}
/// "serial1" to "usb2": the bench's names of the serial ports, the meter's of the USB ports.
const char* Truth_portName(size_t port);

/// True when so many seconds of the meter's clock, and a busy machine's pause, have gone by.
bool Truth_isPast(const Truth& truth, SoakTime since, double meter_s);

void Truth_plug(Truth& truth, size_t port, PortTruth sensor);
void Truth_unplug(Truth& truth, size_t port);
void Truth_setPowers(Truth& truth, size_t port, double forward_W, double reflected_W);
void Truth_beginFault(Truth& truth, size_t port, const std::string& name);
void Truth_endFault(Truth& truth, size_t port);

/// The port whose channel the meter has to ask for, -1 when it need not ask.
int Truth_waitsForChannel(const Truth& truth);
void Truth_choose(Truth& truth, size_t port, int channel);

/// The port that a channel shows, -1 for none.
int Truth_portOfChannel(const Truth& truth, int channel);
int Truth_shownCount(const Truth& truth);

/// The layout must be the final one: the last change of presence is long enough ago.
bool Truth_isLayoutSettled(const Truth& truth);
/// The port must be measuring: connected long enough, and not disturbed.
bool Truth_mustMeasure(const Truth& truth, size_t port);
/// Nothing but its own values may be shown for it: no fault has made any up.
bool Truth_isHonest(const Truth& truth, size_t port);
/// Nothing has come from it for so long that its values must be called old.
bool Truth_isSilent(const Truth& truth, size_t port);
/// The greatest age in seconds of the meter's clock that its values can have.
double Truth_greatestAge_s(const Truth& truth, size_t port);
/// Its frequency, temperature and pulse are the present ones.
bool Truth_isFollowed(const Truth& truth, size_t port);
/// The values that may be shown now; forgets those that may no more.
std::vector<TruthValue> Truth_shownValues(Truth& truth, size_t port);

#endif
