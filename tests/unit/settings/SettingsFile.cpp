#include "SettingsFile.h"

#include "ConfigurationFile.h"

#include <cstdio>
#include <cstdlib>

const char* const defaultSettingsText = "displayForwardPower 1\n"
                                        "displayReflectedPower 1\n"
                                        "powerUnitsIsdBm 0\n"
                                        "displayVSWR_ReturnLoss_or_ReflCoeff_Value 1\n"
                                        "matchMeasurementType 0\n"
                                        "displayGraph 0\n"
                                        "graphReflectedMode_ch1 0\n"
                                        "graphDisplayMode_ch1 0\n"
                                        "graphAverageCount_ch1 64\n"
                                        "graphDisplayMinPower_ch1 3000.000000\n"
                                        "graphDisplayMaxPower_ch1 10000000.000000\n"
                                        "limitLineMin_ch1 3000.000000\n"
                                        "limitLineMax_ch1 10000000.000000\n"
                                        "unit_ch1 0\n"
                                        "graphReflectedMode_ch2 0\n"
                                        "graphDisplayMode_ch2 0\n"
                                        "graphAverageCount_ch2 64\n"
                                        "graphDisplayMinPower_ch2 3000.000000\n"
                                        "graphDisplayMaxPower_ch2 10000000.000000\n"
                                        "limitLineMin_ch2 3000.000000\n"
                                        "limitLineMax_ch2 10000000.000000\n"
                                        "unit_ch2 0\n"
                                        "scale_ch1_fwd_autoScale 1\n"
                                        "scale_ch1_fwd_scaleIndex 7\n"
                                        "scale_ch1_rfl_autoScale 1\n"
                                        "scale_ch1_rfl_scaleIndex 7\n"
                                        "scale_ch1_gatedPower_autoScale 1\n"
                                        "scale_ch1_gatedPower_scaleIndex 7\n"
                                        "scale_ch2_fwd_autoScale 1\n"
                                        "scale_ch2_fwd_scaleIndex 7\n"
                                        "scale_ch2_rfl_autoScale 1\n"
                                        "scale_ch2_rfl_scaleIndex 7\n"
                                        "scale_ch2_gatedPower_autoScale 1\n"
                                        "scale_ch2_gatedPower_scaleIndex 7\n"
                                        "state_scale_ch1_0_autoScale 1\n"
                                        "state_scale_ch1_0_scaleIndex 7\n"
                                        "state_scale_ch1_1_autoScale 1\n"
                                        "state_scale_ch1_1_scaleIndex 7\n"
                                        "state_scale_ch1_2_autoScale 1\n"
                                        "state_scale_ch1_2_scaleIndex 7\n"
                                        "state_scale_ch1_3_autoScale 1\n"
                                        "state_scale_ch1_3_scaleIndex 7\n"
                                        "state_scale_ch2_0_autoScale 1\n"
                                        "state_scale_ch2_0_scaleIndex 7\n"
                                        "state_scale_ch2_1_autoScale 1\n"
                                        "state_scale_ch2_1_scaleIndex 7\n"
                                        "state_scale_ch2_2_autoScale 1\n"
                                        "state_scale_ch2_2_scaleIndex 7\n"
                                        "state_scale_ch2_3_autoScale 1\n"
                                        "state_scale_ch2_3_scaleIndex 7\n"
                                        "useLegacyRS232Commands 0\n"
                                        "legacyCommandModeSW 0\n"
                                        "sensorPulseMode 0\n";

std::string textOf(const QUORVEL_APP_SETTINGS& settings) {
    char* text = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&text, &length);
    ConfigurationFile_write(stream, settings);
    fclose(stream);
    std::string result(text, length);
    free(text);
    return result;
}

std::string withLine(std::string text, const std::string& line) {
    const std::string key = line.substr(0, line.find(' ') + 1);
    const size_t start = ("\n" + text).find("\n" + key);
    EXPECT_NE(start, std::string::npos) << line;
    if (start != std::string::npos) {
        text.replace(start, text.find('\n', start) - start, line);
    }
    return text;
}

void startSettings(const char* fileName) {
    setConfigurationFile(fileName);
    readConfigFile();
}
