#include "UsbPnPFile.h"

#include "Numbers.h"
#include "UsbTmcPort.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

/// The sensors' headers are "#3" and three digits: data begins here whatever count of digits a
/// header tells (docs/compatibility.md: data-at-five).
constexpr size_t dataAt = 5;

/// No file that fits has more blocks; a sensor that claims so is not believed.
constexpr int maxBlocks = 4096;

constexpr float noLimit = std::numeric_limits<float>::quiet_NaN();

/// Appends to a terminated text in a buffer of fixed size.
struct Output {
    std::span<char> text;
    size_t length;

    bool append(char letter) {
        if (length + 1 >= text.size()) {
            return false;
        }
        text[length++] = letter;
        return true;
    }
    void finish() {
        // A line end that stands where the text goes on is taken back into it.
        if (length > 0 && text[length] == '\n') {
            --length;
        }
    }
};

/// Joins a block's data without its zero bytes. False when there is no data or no room.
bool appendBlock(std::span<const char> block, Output* output) {
    const int size = getBlockSize(block.data());
    if (size < 1) {
        return false;
    }
    const size_t end = std::min(dataAt + static_cast<size_t>(size), pnpBlockSize);
    for (size_t index = dataAt; index < end; ++index) {
        if (block[index] != '\0' && !output->append(block[index])) {
            return false;
        }
    }
    output->finish();
    return true;
}

/// An integer that the sensor reports; negative when it does not answer.
int askForNumber(int32_t fd, char* buffer, sensor_qry_e query) {
    qry_type reply;
    return handleQuery(fd, buffer, query, &reply) > 0 ? reply.ival : -1;
}

bool chooseBlock(int32_t fd, char* buffer, int number) {
    cmd_type value{};
    value.ival = number;
    return handleCmd(fd, buffer, C_PNP_FILE_BLOCK_NUMBER, &value) > 0;
}

bool startTransfer(int32_t fd, char* buffer) {
    cmd_type none{};
    return askForNumber(fd, buffer, Q_PNP_AVAILABLE) == 1 &&
           handleCmd(fd, buffer, C_PNP_INITIATE_TRANSFER, &none) > 0 &&
           askForNumber(fd, buffer, Q_PNP_FILE_SIZE) > 0;
}

/// The number between an opening and a closing tag.
float numberBetween(std::string_view text, std::string_view opening, std::string_view closing) {
    const size_t begin = text.find(opening);
    if (begin == std::string_view::npos) {
        return noLimit;
    }
    const std::string_view rest = text.substr(begin + opening.size());
    const size_t size = rest.find(closing);
    std::array<char, 64> number{};
    if (size >= number.size()) { // without a closing tag the size is the largest there is
        return noLimit;
    }
    rest.copy(number.data(), size);
    char* end = nullptr;
    const float value = Numbers_toFloat(number.data(), &end);
    return end == number.data() ? noLimit : value;
}

/// The text of one parameter's element; empty when it is not in the file.
std::string_view elementOf(std::string_view file, const char* element, const char* parameter) {
    const size_t begin = file.find(parameter);
    if (begin == std::string_view::npos) {
        return {};
    }
    std::array<char, 64> closing{};
    snprintf(closing.data(), closing.size(), "</%s>", element);
    const std::string_view rest = file.substr(begin);
    const size_t end = rest.find(closing.data());
    return end == std::string_view::npos ? std::string_view() : rest.substr(0, end);
}

/// Where a parameter stands in the file, where it is kept, and what it is when it is missing.
struct LimitRow {
    const char* parameter;
    const char* element;
    PULSE_RANGES SENSOR_IDENTITY::*range;
    PULSE_RANGES otherwise;
};

constexpr std::array<LimitRow, 5> limitRows = {{
    {"Measurement.ForwardAveragePower",
     "ScalarMeasurement",
     &SENSOR_IDENTITY::sensorPower,
     {0.0F, 100000.0F}},
    {"Measurement.PRF", "ScalarMeasurement", &SENSOR_IDENTITY::sensorPrf, {noLimit, noLimit}},
    {"Configuration.CorrectionFrequency",
     "ScalarConfiguration",
     &SENSOR_IDENTITY::sensorFrequency,
     {360000.0F, 105000000.0F}},
    {"Configuration.MaximumPulsePeriod",
     "ScalarConfiguration",
     &SENSOR_IDENTITY::sensorPulsePeriod,
     {6e-6F, 1.0F}},
    {"Configuration.TriggerDelay",
     "ScalarConfiguration",
     &SENSOR_IDENTITY::sensorTriggerDelay,
     {-1.0F, 1.0F}},
}};

} // namespace

ssize_t getPnPBlock(int32_t fd, char* buffer) {
    memset(buffer, 0, pnpBlockSize + 1);
    const ssize_t sent = UsbTmcPort_Send(fd, "PNP:FILE:BLOC:DATA?\n");
    return sent < 0 ? sent : UsbTmcPort_Receive(fd, buffer, pnpBlockSize);
}

int getBlockSize(const char* buffer) {
    const char* header = strchr(buffer, '#');
    if (header == nullptr || header[1] < '1' || header[1] > '9') {
        return -1;
    }
    const int digits = header[1] - '0';
    std::array<char, 10> length{};
    for (int index = 0; index < digits; ++index) {
        const char digit = header[2 + index];
        if (digit < '0' || digit > '9') {
            return -1;
        }
        length[static_cast<size_t>(index)] = digit;
    }
    return Numbers_toInt(length.data());
}

int openPnPFile(int32_t fd, char* buffer, std::span<char> output) {
    std::fill(output.begin(), output.end(), '\0');
    if (!startTransfer(fd, buffer)) {
        return -1;
    }
    const int total = askForNumber(fd, buffer, Q_PNP_FILE_BLOCK_TOTAL);
    if (total < 0 || total > maxBlocks) {
        return -1;
    }
    Output joined = {output, 0};
    for (int number = 1; number <= total; ++number) {
        if (!chooseBlock(fd, buffer, number) || getPnPBlock(fd, buffer) <= 0 ||
            !appendBlock({buffer, pnpBlockSize + 1}, &joined)) {
            return -1;
        }
    }
    return 0;
}

void getMaxMin(const char* file, const char* element, const char* parameter, float* max,
               float* min) {
    const std::string_view text = elementOf(file, element, parameter);
    *min = numberBetween(text, "<Minimum>", "</Minimum>");
    *max = numberBetween(text, "<Maximum>", "</Maximum>");
}

int getMinMaxParameters(int32_t fd, char* buffer, SENSOR_IDENTITY* identity) {
    std::array<char, pnpFileSize> file;
    const int result = openPnPFile(fd, buffer, file);
    if (result < 0) {
        return result;
    }
    for (const LimitRow& row : limitRows) {
        PULSE_RANGES& range = identity->*row.range;
        getMaxMin(file.data(), row.element, row.parameter, &range.max, &range.min);
        range.min = std::isnan(range.min) ? row.otherwise.min : range.min;
        range.max = std::isnan(range.max) ? row.otherwise.max : range.max;
    }
    return result;
}
