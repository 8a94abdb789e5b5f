#include "HelpCommand.h"

#include "BenchText.h"
#include "CrowdOptions.h"
#include "RunOptions.h"
#include "Sensor316x.h"
#include "Sensor513x.h"
#include "SerialPortPlayer.h"
#include "Signal.h"
#include "ToolCommand.h"
#include "UsbPortPlayer.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

int helpAll() {
    printf("quorvel-bench run [OPTION...] [-- PROGRAM ARGUMENTS]   run the meter on the bench\n"
           "quorvel-bench [--world DIR] COMMAND                    tell a running bench\n"
           "quorvel-bench list                                     the running benches\n"
           "quorvel-bench crowd N [OPTION...]                      N meters that only answer SCPI\n"
           "quorvel-bench help plug | fault | crowd                all that these take\n"
           "Options of run:\n%sCommands:\n%s",
           RunOptions_help().c_str(), ToolCommand_help().c_str());
    return 0;
}

template <typename Models> std::string namesOf(const Models& models) {
    std::vector<std::string> names;
    for (const auto& model : models) {
        names.emplace_back(model.name);
    }
    return BenchText_list(names);
}

int helpPlug() {
    printf("plug PORT MODEL [KEY=VALUE...], set PORT KEY=VALUE...\n\n"
           "serial1, serial2: %s\n  keys: %s\n"
           "usb1, usb2: %s\n  keys: %s\n\n"
           "fwd, rfl, freq and temp are signals: %s.\n"
           "Powers take W, mW, kW, dBm, frequencies Hz, kHz, MHz, times ms, s, m, h.\n"
           "docs/bench.md tells what each key is.\n",
           namesOf(Sensor513x_models()).c_str(), BenchText_list(Sensor513x_keyNames()).c_str(),
           namesOf(Sensor316x_models()).c_str(), BenchText_list(Sensor316x_keyNames()).c_str(),
           signalShapesText);
    return 0;
}

int helpFault() {
    printf("fault PORT NAME\n\n"
           "serial1, serial2: %s\n"
           "usb1, usb2: %s:CODE:HEADER\n",
           BenchText_list({serialFaultNames.begin(), serialFaultNames.end()}).c_str(),
           BenchText_list({usbFaultNames.begin(), usbFaultNames.end()}).c_str());
    return 0;
}

int helpCrowd() {
    printf("crowd N [OPTION...]\n\n%s", CrowdOptions_help().c_str());
    return 0;
}

struct Topic {
    std::string_view name;
    int (*run)();
};
constexpr std::array<Topic, 4> topics{
    {{"plug", helpPlug}, {"set", helpPlug}, {"fault", helpFault}, {"crowd", helpCrowd}}};

} // namespace

int HelpCommand_run(const Words& words) {
    if (words.size() < 2) {
        return helpAll();
    }
    const auto* topic = std::ranges::find(topics, words[1], &Topic::name);
    return topic != topics.end()
               ? topic->run()
               : ToolAnswer_fail("no help on '" + words[1] +
                                 "': there is help on plug, set, fault and crowd");
}
