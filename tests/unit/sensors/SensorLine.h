#ifndef TESTS_UNIT_SENSORS_SENSOR_LINE_H
#define TESTS_UNIT_SENSORS_SENSOR_LINE_H

#include "StillClock.h"

#include <functional>
#include <string>
#include <vector>

/// A byte that comes at a time after the line was made.
struct LineByte {
    double at_ms;
    char byte;
};

/// Bytes one after the other, `gap_ms` apart.
std::vector<LineByte> SensorLine_bytes(const std::string& bytes, double first_ms, double gap_ms);

/// A serial line whose far end is a sensor played by the test, on a still clock: what the program
/// waits for comes without any time going by, and where nothing comes its wait is over at once. One
/// at a time.
class SensorLine {
public:
    /// Is given each group of bytes that arrives and returns the reply, empty for none.
    using Answer = std::function<std::string(const std::string& command)>;

    explicit SensorLine(Answer answerToUse);
    /// Bytes that come at their moments, whatever the program says.
    explicit SensorLine(std::vector<LineByte> bytesToCome);
    ~SensorLine();
    SensorLine(const SensorLine&) = delete;
    SensorLine& operator=(const SensorLine&) = delete;

    /// The near end, which the code under test uses.
    int fd() const {
        return near;
    }
    const StillClock& clock() const {
        return still;
    }
    /// Bytes that the sensor sends by itself.
    void send(const std::string& bytes) const;
    /// Everything that has arrived at the sensor.
    std::string allCommands();
    /// The far end goes away: reads on the near end return at once from now on.
    void hangUp() const;

private:
    static int64_t play(int64_t end_ns);
    void open();
    bool isAnswering();
    int64_t nextByte(int64_t end_ns);

    StillClock still;
    Answer answer;
    std::vector<LineByte> bytes;
    size_t next = 0;
    double start_ms = 0;
    std::string arrived;
    int near = -1;
    int far = -1;
};

#endif
