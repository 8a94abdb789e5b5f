#include "PlugAndPlay316x.h"

#include "BenchText.h"

namespace {

constexpr size_t blockSize = 500;

std::string entry(const char* element, const char* name, const char* unit, double least,
                  double most) {
    return BenchText_format("  <%s>\n    <Name>%s</Name>\n    <Units>%s</Units>\n"
                            "    <Minimum>%.9g</Minimum>\n    <Maximum>%.9g</Maximum>\n  </%s>\n",
                            element, name, unit, least, most, element);
}

} // namespace

std::string PlugAndPlay316x_file(const Sensor316x& sensor) {
    constexpr const char* measured = "ScalarMeasurement";
    constexpr const char* configured = "ScalarConfiguration";
    return "<?xml version=\"1.0\"?>\n<Sensor>\n  <Model>" + sensor.modelText + "</Model>\n" +
           entry(measured, "Measurement.ForwardAveragePower", "W", sensor.input.minPower_W,
                 sensor.input.maxPower_W) +
           entry(measured, "Measurement.ReflectedAveragePower", "W", sensor.input.minPower_W,
                 sensor.input.maxPower_W) +
           entry(measured, "Measurement.PRF", "Hz", 1, 160000) +
           entry(configured, "Configuration.CorrectionFrequency", "Hz", 360000, 105e6) +
           entry(configured, "Configuration.MaximumPulsePeriod", "s", 6e-6, 1) +
           entry(configured, "Configuration.TriggerDelay", "s", -1, 1) + "</Sensor>\n";
}

int PlugAndPlay316x_blockCount(const Sensor316x& sensor) {
    return static_cast<int>((PlugAndPlay316x_file(sensor).size() + blockSize - 1) / blockSize);
}

std::string PlugAndPlay316x_block(const Sensor316x& sensor, int number) {
    const std::string file = PlugAndPlay316x_file(sensor);
    const size_t start = number < 1 ? file.size() : (static_cast<size_t>(number) - 1) * blockSize;
    const std::string data = start < file.size() ? file.substr(start, blockSize) : std::string();
    return BenchText_format("#3%03zu", data.size()) + data;
}
