#include "Measure.h"

#include "BenchText.h"
#include "WorldFolder.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

double elapsed_s(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Sum over the threads of this name (with its line end), or over all for an empty one.
int64_t processorTime_ns(const Bench& bench, const std::string& name) {
    const std::string tasks = "/proc/" + std::to_string(Bench_programId(bench)) + "/task";
    int64_t sum_ns = -1;
    std::error_code error;
    for (fs::directory_iterator it(tasks, error); it != fs::directory_iterator();
         it.increment(error)) {
        const std::string folder = it->path();
        if (!name.empty() && WorldFolder_readFile(folder + "/comm") != name) {
            continue;
        }
        const std::string times = WorldFolder_readFile(folder + "/schedstat");
        const auto words = BenchText_words(times);
        if (!words.empty()) {
            sum_ns = std::max(sum_ns, int64_t{0}) +
                     static_cast<int64_t>(BenchText_number(words[0]).value_or(0));
        }
    }
    return sum_ns;
}

// A raster of every third pixel is enough to find a text line of the screen.
bool isPainted(Display* display) {
    XImage* image =
        XGetImage(display, DefaultRootWindow(display), 0, 0, 1024, 768, AllPlanes, ZPixmap);
    if (image == nullptr) {
        return false;
    }
    bool found = false;
    for (int y = 0; y < 768 && !found; y += 3) {
        for (int x = 0; x < 1024 && !found; x += 3) {
            found = (XGetPixel(image, x, y) & 0xFFFFFFU) != 0;
        }
    }
    XDestroyImage(image);
    return found;
}

} // namespace

bool Measure_plugAndMeasure(Bench& bench, const std::string& line, const std::string& label) {
    if (!Bench_do(bench, "plug " + line)) {
        return false;
    }
    const auto isMeasuring = [&] {
        if (Bench_isVisible(bench, "sensorSettingsDialog_ok")) {
            Bench_tap(bench, "sensorSettingsDialog_ok");
        }
        const auto value = Bench_widget(bench, label);
        return value && value->isVisible &&
               value->text.find_first_of("0123456789") != std::string::npos;
    };
    constexpr uint32_t limit_ms = 20000;
    return Bench_waitUntil(isMeasuring, limit_ms);
}

double Measure_processorShare(const Bench& bench, double seconds) {
    const auto start = Clock::now();
    const int64_t before_ns = processorTime_ns(bench, "");
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const auto used_s = static_cast<double>(processorTime_ns(bench, "") - before_ns) / 1e9;
    return used_s / elapsed_s(start) * 100;
}

int64_t Measure_threadTime_ns(const Bench& bench, const std::string& threadName) {
    return processorTime_ns(bench, threadName + "\n");
}

double Measure_untilPainted_ms(const std::string& display) {
    constexpr double limit_s = 10;
    const auto start = Clock::now();
    Display* handle = XOpenDisplay(display.c_str());
    bool found = false;
    while (handle != nullptr && !found && elapsed_s(start) < limit_s) {
        found = isPainted(handle);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (handle != nullptr) {
        XCloseDisplay(handle);
    }
    return found ? elapsed_s(start) * 1000 : -1;
}
