#ifndef BENCH_CLIENT_BENCH_SCREEN_H
#define BENCH_CLIENT_BENCH_SCREEN_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What is on the program's screen.

struct ScreenWidget {
    int depth; ///< 0 for a window
    std::string type;
    std::string name;    ///< widget name, the type when none was set
    std::string id;      ///< of the builder file, or empty
    std::string caption; ///< accessible name
    bool isVisible;      ///< really on the screen
    bool isSensitive;
    bool hasFocus;
    bool isActive; ///< check boxes, radio and toggle buttons
    int x, y;      ///< on the screen
    int width, height;
    std::string foreground; ///< "#rrggbb"
    std::string background;
    std::string font; ///< "Sans 10"
    std::string text;

    bool operator==(const ScreenWidget& other) const = default;
};

/// Reads the lines of the screen channel; a line that is none is left out.
std::vector<ScreenWidget> BenchScreen_parse(std::string_view lines);

/// All widgets, parents first. False when the program has no screen (yet).
bool BenchScreen_list(const std::string& world, std::vector<ScreenWidget>& widgets);

/// The widgets that may be meant by `name`, and the windows: much quicker than the list. False when
/// the program has no screen (yet).
bool BenchScreen_named(const std::string& world, std::string_view name,
                       std::vector<ScreenWidget>& widgets);

/// The one that BenchScreen_find would find, if there is one. False when the program has no screen
/// (yet).
bool BenchScreen_one(const std::string& world, std::string_view name,
                     std::optional<ScreenWidget>& widget);

/// What the program's windows show, as a PNG file's content. False when the program has no screen
/// (yet).
bool BenchScreen_picture(const std::string& world, std::string& png);

/// The widget that a person means by `name`: a visible one before a hidden one, by its name
/// or builder id, else by its text, in the topmost window that has it. Null when there
/// is none.
const ScreenWidget* BenchScreen_find(const std::vector<ScreenWidget>& widgets,
                                     std::string_view name);

#endif
