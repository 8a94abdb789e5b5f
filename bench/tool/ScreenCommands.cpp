#include "ScreenCommands.h"

#include "BenchPointer.h"
#include "BenchScreen.h"
#include "BenchText.h"
#include "WorldFolder.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>

namespace {

void pause_ms(long time_ms) {
    const timespec pause = {time_ms / 1000, time_ms % 1000 * 1000000};
    nanosleep(&pause, nullptr);
}

std::string displayOf(const std::string& world) {
    const std::string display = WorldFolder_readFile(world + "/display");
    return display.substr(0, display.find('\n'));
}

/// The visible widget that a person means, or why there is none.
std::optional<ScreenWidget> visibleWidget(const std::string& world, const std::string& name,
                                          std::string& error) {
    std::optional<ScreenWidget> widget;
    if (!BenchScreen_one(world, name, widget)) {
        error = "the program has no screen yet";
        return std::nullopt;
    }
    if (!widget) {
        error =
            "nothing on the screen is called '" + name + "': quorvel-bench screen lists the names";
        return std::nullopt;
    }
    if (!widget->isVisible) {
        error = "'" + name + "' is hidden";
        return std::nullopt;
    }
    return widget;
}

struct Point {
    int x, y;
};

/// "X,Y" in pixels of the screen.
std::optional<Point> pointOf(const std::string& text) {
    const auto parts = BenchText_split(text, ',');
    const auto x = parts.size() == 2 ? BenchText_number(parts[0]) : std::nullopt;
    const auto y = parts.size() == 2 ? BenchText_number(parts[1]) : std::nullopt;
    constexpr double most = 10000;
    const bool isPoint = x && y && *x >= 0 && *y >= 0 && *x <= most && *y <= most;
    return isPoint ? std::optional(Point{static_cast<int>(*x), static_cast<int>(*y)})
                   : std::nullopt;
}

/// Where a tap on this goes, or why there is nothing to touch.
std::optional<Point> tapPoint(const std::string& world, const std::string& name,
                              std::string& error) {
    if (const auto point = pointOf(name)) {
        return point;
    }
    const auto widget = visibleWidget(world, name, error);
    if (widget && !widget->isSensitive) {
        error = "'" + name + "' is insensitive: it takes no touch now";
        return std::nullopt;
    }
    return widget
               ? std::optional(Point{widget->x + widget->width / 2, widget->y + widget->height / 2})
               : std::nullopt;
}

// A program that has just been started paints its first screen within moments; the picture is to
// show it complete, sensors included.
void waitForScreen(const std::string& world) {
    std::vector<ScreenWidget> widgets;
    for (int tries = 0; tries < 200 && !BenchScreen_list(world, widgets); ++tries) {
        pause_ms(50);
    }
    pause_ms(2500);
}

// A screen in a browser is nowhere on this machine: the program draws it once more.
bool saveDrawnPicture(const std::string& world, const std::string& file, std::string& error) {
    std::string png;
    if (!BenchScreen_picture(world, png)) {
        error = "the program has no screen yet";
        return false;
    }
    if (!WorldFolder_writeFile(file, png)) {
        error = file + ": " + strerror(errno);
        return false;
    }
    return true;
}

} // namespace

int ScreenCommands_list(const std::string& world, const Words& words) {
    std::vector<ScreenWidget> widgets;
    if (!BenchScreen_list(world, widgets)) {
        return ToolAnswer_fail("the program has no screen yet");
    }
    const bool showsAll = words.size() > 1 && words[1] == "--all";
    for (const ScreenWidget& widget : widgets) {
        if (!showsAll && !widget.isVisible) {
            continue;
        }
        const bool hasName = widget.name != widget.type;
        printf("%*s%s%s%s%s%s %d,%d %dx%d %s on %s%s%s \"%s\"\n", widget.depth * 2, "",
               widget.type.c_str(), hasName ? " " : "", hasName ? widget.name.c_str() : "",
               widget.id.empty() ? "" : " id=", widget.id.c_str(), widget.x, widget.y, widget.width,
               widget.height, widget.foreground.c_str(), widget.background.c_str(),
               !widget.isVisible     ? " hidden"
               : !widget.isSensitive ? " insensitive"
                                     : "",
               widget.isActive ? " active" : "", widget.text.c_str());
    }
    return 0;
}

int ScreenCommands_text(const std::string& world, const Words& words) {
    if (words.size() != 2) {
        return ToolAnswer_usage("text NAME");
    }
    std::string error;
    const auto widget = visibleWidget(world, words[1], error);
    if (!widget) {
        return ToolAnswer_fail(error);
    }
    printf("%s\n", widget->text.c_str());
    return 0;
}

int ScreenCommands_wait(const std::string& world, const Words& words) {
    using Clock = std::chrono::steady_clock;
    const auto limit_s = BenchText_duration_s(words.size() == 4 ? words[3] : "10s");
    if (words.size() < 3 || words.size() > 4 || !limit_s) {
        return ToolAnswer_usage("wait NAME TEXT [TIME]");
    }
    const auto end = Clock::now() + std::chrono::duration<double>(*limit_s);
    for (;;) {
        std::string error;
        const auto widget = visibleWidget(world, words[1], error);
        if (widget && widget->text.find(words[2]) != std::string::npos) {
            return 0;
        }
        if (Clock::now() >= end) {
            return ToolAnswer_fail(widget ? "'" + words[1] + "' shows '" + widget->text +
                                                "', not '" + words[2] + "'"
                                          : error);
        }
        pause_ms(50);
    }
}

int ScreenCommands_tap(const std::string& world, const Words& words) {
    if (words.size() != 2) {
        return ToolAnswer_usage("tap NAME | tap X,Y");
    }
    std::string error;
    const auto point = tapPoint(world, words[1], error);
    return point && BenchPointer_tap(displayOf(world), point->x, point->y, error)
               ? 0
               : ToolAnswer_fail(error);
}

int ScreenCommands_drag(const std::string& world, const Words& words) {
    const auto from = words.size() == 3 ? pointOf(words[1]) : std::nullopt;
    const auto to = words.size() == 3 ? pointOf(words[2]) : std::nullopt;
    if (!from || !to) {
        return ToolAnswer_usage("drag X,Y X,Y");
    }
    std::string error;
    return BenchPointer_drag(displayOf(world), from->x, from->y, to->x, to->y, error)
               ? 0
               : ToolAnswer_fail(error);
}

int ScreenCommands_screenshot(const std::string& world, const Words& words) {
    const bool waits = words.size() == 3 && words[1] == "--wait";
    if (words.size() != 2 && !waits) {
        return ToolAnswer_usage("screenshot [--wait] FILE");
    }
    if (waits) {
        waitForScreen(world);
    }
    std::string error;
    const std::string display = displayOf(world);
    const bool isSaved = display.empty() ? saveDrawnPicture(world, words.back(), error)
                                         : BenchPointer_savePicture(display, words.back(), error);
    return isSaved ? 0 : ToolAnswer_fail(error);
}
