#include "MeterTest.h"

#include "WorldFolder.h"

#include <algorithm>
#include <cstdio>

namespace {

bool isBlank(const std::string& text) {
    return text.find_first_not_of(' ') == std::string::npos;
}

// What a developer wants to see of a meter that did not do what it should.
void leaveTraces(Bench& bench) {
    std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(name.begin(), name.end(), '/', '.');
    const std::string picture = testing::TempDir() + name + ".png";
    if (Bench_savePicture(bench, picture)) {
        fprintf(stderr, "the screen is in %s\n", picture.c_str());
    }
    std::string status;
    if (Bench_do(bench, "status", &status)) {
        fputs(status.c_str(), stderr);
    }
    const auto lines = Bench_syslog(bench);
    const size_t shown = std::min<size_t>(lines.size(), 15);
    for (size_t at = lines.size() - shown; at < lines.size(); ++at) {
        fprintf(stderr, "%s\n", lines[at].c_str());
    }
}

} // namespace

void MeterTest::TearDown() {
    if (HasFailure() && bench.tool > 0) {
        leaveTraces(bench);
    }
    Bench_stop(bench);
}

void MeterTest::start(const BenchOptions& options) {
    ASSERT_TRUE(Bench_start(bench, options));
}

void MeterTest::startFast(const std::vector<std::string>& commands, const std::string& settings) {
    BenchOptions options;
    options.commands = {"clock speed 4"};
    options.commands.insert(options.commands.end(), commands.begin(), commands.end());
    options.prepare = [settings](const std::string& world) {
        if (!settings.empty()) {
            WorldFolder_write(world, instrumentFile::settings, settings);
        }
    };
    start(options);
}

void MeterTest::plugFirst(const std::string& port, const std::string& sensor, int channel) {
    ASSERT_TRUE(Bench_do(bench, "plug " + port + " " + sensor));
    ASSERT_TRUE(chooseChannel(channel)) << "no channel dialog";
    ASSERT_TRUE(waitForReading("single.fwd.value"));
}

void MeterTest::plug(const std::string& port, const std::string& sensor) {
    ASSERT_TRUE(Bench_do(bench, "plug " + port + " " + sensor));
}

bool MeterTest::chooseChannel(int channel) {
    const char* radio = channel == 1 ? channelDialog::channel1 : channelDialog::channel2;
    if (!Bench_waitForVisible(bench, channelDialog::ok, true, screenLimit_ms)) {
        return false;
    }
    const auto isChosen = [&] {
        const auto button = Bench_widget(bench, radio);
        return button && button->isActive;
    };
    return (isChosen() || (Bench_tap(bench, radio) && Bench_waitUntil(isChosen, screenLimit_ms))) &&
           Bench_tap(bench, channelDialog::ok) &&
           Bench_waitForVisible(bench, channelDialog::ok, false, screenLimit_ms);
}

void MeterTest::answerIfAsked() {
    if (Bench_isVisible(bench, channelDialog::ok) && Bench_tap(bench, channelDialog::ok)) {
        EXPECT_TRUE(becomesVisible(channelDialog::ok, false));
    }
}

testing::AssertionResult MeterTest::comesUp(const std::string& port) {
    return Bench_do(bench, "set " + port + " boot=0s")
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << port << " is not there";
}

void MeterTest::setSpeed(double speed) {
    ASSERT_TRUE(Bench_do(bench, "clock speed " + std::to_string(speed)));
}

bool MeterTest::waitForReading(const std::string& line, uint32_t limit_ms) {
    const auto hasReading = [&] {
        const auto widget = Bench_widget(bench, line);
        return widget && widget->isVisible && !isBlank(widget->text);
    };
    return Bench_waitUntil(hasReading, limit_ms);
}

testing::AssertionResult MeterTest::shows(const std::string& name, const std::string& text,
                                          uint32_t limit_ms) {
    if (Bench_waitForText(bench, name, text, limit_ms)) {
        return testing::AssertionSuccess();
    }
    const auto widget = Bench_widget(bench, name);
    return testing::AssertionFailure()
           << name << " should show \"" << text << "\" but "
           << (widget ? (widget->isVisible ? "shows \"" : "is hidden with \"") + widget->text + "\""
                      : std::string("is not there"));
}

testing::AssertionResult MeterTest::becomesVisible(const std::string& name, bool isVisible,
                                                   uint32_t limit_ms) {
    if (Bench_waitForVisible(bench, name, isVisible, limit_ms)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << name << (isVisible ? " does not appear" : " does not go away");
}

testing::AssertionResult MeterTest::fileSays(const std::string& file, const std::string& text) {
    const auto says = [&] { return Bench_readFile(bench, file).find(text) != std::string::npos; };
    return Bench_waitUntil(says, screenLimit_ms) ? testing::AssertionSuccess()
                                                 : testing::AssertionFailure()
                                                       << file << " lacks \"" << text << "\":\n"
                                                       << Bench_readFile(bench, file);
}

testing::AssertionResult MeterTest::within(const Stopwatch& watch, double limit_ms, double speed) {
    const double gone_ms = watch.elapsed_ms() * speed;
    return gone_ms < limit_ms * patience
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << gone_ms << " ms, not " << limit_ms;
}

testing::AssertionResult MeterTest::measures(const std::string& port, const std::string& display) {
    for (const char* power : {"36", "49"}) {
        if (!Bench_do(bench, "set " + port + " fwd=" + power)) {
            return testing::AssertionFailure() << port << " is not there";
        }
        const auto follows = [&] {
            const auto widget = Bench_widget(bench, display);
            return widget && widget->isVisible && widget->text.find(power) != std::string::npos;
        };
        if (!Bench_waitUntil(follows, readingLimit_ms)) {
            return testing::AssertionFailure() << display << " does not follow " << port << ": "
                                               << Bench_labelText(bench, display);
        }
    }
    return testing::AssertionSuccess();
}

std::string MeterTest::logOf(const std::string& port, uint64_t after) {
    std::string text;
    Bench_do(bench, "log " + port + " " + std::to_string(after), &text);
    return text;
}

uint64_t MeterTest::lastEntry(const std::string& port) {
    const std::string text = logOf(port, 0);
    const size_t line = text.size() > 1 ? text.rfind('\n', text.size() - 2) : std::string::npos;
    return strtoull(text.c_str() + (line == std::string::npos ? 0 : line + 1), nullptr, 10);
}

bool MeterTest::waitForLog(const std::string& port, uint64_t after, const std::string& text) {
    return Bench_waitUntil([&] { return logOf(port, after).find(text) != std::string::npos; },
                           readingLimit_ms);
}
