#ifndef TESTS_UNIT_SENSORS_SERIAL_SENSOR_MODEL_H
#define TESTS_UNIT_SENSORS_SERIAL_SENSOR_MODEL_H

#include "Sensor513x.h"

#include <mutex>
#include <string>

/// The bench's serial sensor, for a test and the thread that plays it: a 5132 from 0.25 W to 500 W
/// that measures 9 W and 0.25 W. The reply to a command letter can be replaced.
class SerialSensorModel {
public:
    SerialSensorModel() {
        sensor.firmware = "V1.23";
        sensor.memory = "200201170";
        sensor.input = SensorInput_create(500, 0.25, 36.5);
        sensor.input.forward_W = Signal_constant(9);
        sensor.input.reflected_W = Signal_constant(0.25);
    }
    std::string answer(const std::string& bytes) {
        const std::lock_guard lock(mutex);
        std::string replies;
        for (const char byte : bytes) {
            replies += Sensor513x_receive(sensor, serialFaultNone, static_cast<uint8_t>(byte), 0);
        }
        return replies;
    }
    void replace(char letter, const std::string& reply) {
        const std::lock_guard lock(mutex);
        sensor.scripted[letter] = reply;
    }
    void restore(char letter) {
        const std::lock_guard lock(mutex);
        sensor.scripted.erase(letter);
    }
    void setModel(const std::string& text) {
        const std::lock_guard lock(mutex);
        sensor.modelText = text;
    }
    void setCommands(const std::string& letters) {
        const std::lock_guard lock(mutex);
        sensor.commands = letters;
    }
    void setSerialNumber(const std::string& digits) {
        const std::lock_guard lock(mutex);
        sensor.memory = digits;
    }

private:
    std::mutex mutex;
    Sensor513x sensor = Sensor513x_create("5132").value_or(Sensor513x{});
};

#endif
