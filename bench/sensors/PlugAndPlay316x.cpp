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

std::string PlugAndPlay316x_file(const std::string& model, const SensorInput& input) {
    constexpr const char* measured = "ScalarMeasurement";
    constexpr const char* configured = "ScalarConfiguration";
    return "<?xml version=\"1.0\"?>\n<Sensor>\n  <Model>" + model + "</Model>\n" +
           entry(measured, "Measurement.ForwardAveragePower", "W", input.minPower_W,
                 input.maxPower_W) +
           entry(measured, "Measurement.ReflectedAveragePower", "W", input.minPower_W,
                 input.maxPower_W) +
           entry(measured, "Measurement.PRF", "Hz", 1, 160000) +
           entry(configured, "Configuration.CorrectionFrequency", "Hz", 360000, 105e6) +
           entry(configured, "Configuration.MaximumPulsePeriod", "s", 6e-6, 1) +
           entry(configured, "Configuration.TriggerDelay", "s", -1, 1) + "</Sensor>\n";
}

int PlugAndPlay316x_blockCount(const std::string& file) {
    return static_cast<int>((file.size() + blockSize - 1) / blockSize);
}

std::string PlugAndPlay316x_block(const std::string& file, int number) {
    const size_t start = number < 1 ? file.size() : (static_cast<size_t>(number) - 1) * blockSize;
    const std::string data = start < file.size() ? file.substr(start, blockSize) : std::string();
    return BenchText_format("#3%03zu", data.size()) + data;
}
