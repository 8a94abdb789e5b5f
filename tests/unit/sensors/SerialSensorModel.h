#ifndef TESTS_UNIT_SENSORS_SERIAL_SENSOR_MODEL_H
#define TESTS_UNIT_SENSORS_SERIAL_SENSOR_MODEL_H

#include "CvrtFloat.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

/// What a test's serial sensor answers. The reply to a command letter can be replaced.
class SerialSensorModel {
public:
    std::string answer(const std::string& command) {
        const std::lock_guard lock(mutex);
        std::string all;
        for (size_t at = 0; at < command.size(); ++at) {
            const char letter = command[at];
            if (letter == 'Z' && at + 2 < command.size()) {
                all += memory(static_cast<uint8_t>(command[at + 2]));
                at += 2;
            } else {
                all += reply(letter);
            }
        }
        return all;
    }
    void replace(char letter, const std::string& answerText) {
        const std::lock_guard lock(mutex);
        replaced[letter] = answerText;
    }
    void restore(char letter) {
        const std::lock_guard lock(mutex);
        replaced.erase(letter);
    }
    void setModel(const std::string& text) {
        const std::lock_guard lock(mutex);
        model = text;
    }
    void setSerialNumber(const std::string& digits) {
        const std::lock_guard lock(mutex);
        serialNumber = digits;
    }

    static std::string wireFloat(float value) {
        const uint32_t word = floatIeeeToQuorvel(value);
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes += static_cast<char>(static_cast<uint8_t>(word >> shift));
        }
        return bytes;
    }

private:
    std::string identity() const {
        return model + std::string(8 - model.size(), '\xFF') + "V1.23   " + "SIFRHTZ         " +
               wireFloat(500.0F) + wireFloat(0.25F);
    }
    std::string memory(uint8_t address) const {
        if (replaced.count('Z') != 0) {
            return replaced.at('Z');
        }
        const size_t index = address - 48U;
        return {index < serialNumber.size() ? serialNumber[index] : ' ', '\0'};
    }
    std::string reply(char letter) const {
        if (replaced.count(letter) != 0) {
            return replaced.at(letter);
        }
        switch (letter) {
        case 'S':
            return "S";
        case 'I':
            return identity();
        case 'F':
            return wireFloat(3.0F);
        case 'R':
            return wireFloat(0.5F);
        case 'H':
            return wireFloat(13560000.0F);
        case 'T':
            return wireFloat(36.5F);
        default:
            return {};
        }
    }

    std::mutex mutex;
    std::string model = "5132";
    std::string serialNumber = "200201170";
    std::map<char, std::string> replaced;
};

#endif
