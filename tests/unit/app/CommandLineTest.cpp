#include "CommandLine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

const std::string version = "QuorvelPowerMeterApp v3.0.1 built Oct 10 2024 18:59:34\n";
const std::string usage = "QuorvelPowerMeterApp application\n"
                          "Usage: \n"
                          "-v\tPrint version\n"
                          "-?\tPrint this message\n";

struct Case {
    std::vector<std::string> arguments;
    bool isHandled;
    std::string output;
};

} // namespace

TEST(CommandLine, OptionsAreAnsweredInOrderUnlessTheFirstArgumentIsPassedOn) {
    const std::vector<Case> cases = {
        {{}, false, ""},
        {{"-v"}, true, version},
        {{"-?"}, true, usage},
        {{"-x"}, true, usage},
        {{"-v", "-x"}, true, version + usage},
        {{"-v?v"}, true, version + usage + version},
        {{"word"}, false, ""},
        {{"word", "-v"}, true, version},
        {{"-prog-args"}, false, ""},
        {{"-prog-args=1", "-v"}, false, ""},
        {{"--g-fatal-warning"}, false, ""},
        {{"--g-fatal-warnings", "-v"}, false, ""},
        {{"-v", "-prog-args"},
         true,
         version + usage + usage + usage + usage + usage + usage + usage + usage + usage},
    };
    for (const Case& row : cases) {
        std::vector<std::string> texts = row.arguments;
        texts.insert(texts.begin(), "QuorvelPowerMeterApp");
        std::vector<char*> argv;
        for (std::string& text : texts) {
            argv.push_back(text.data());
        }
        argv.push_back(nullptr);

        testing::internal::CaptureStdout();
        const bool isHandled = CommandLine_handle(static_cast<int>(texts.size()), argv.data());
        fflush(stdout);
        const std::string label = testing::PrintToString(row.arguments);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.output) << label;
        EXPECT_EQ(isHandled, row.isHandled) << label;
    }
}
