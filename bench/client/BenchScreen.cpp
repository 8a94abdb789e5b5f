#include "BenchScreen.h"

#include "BenchText.h"
#include "LocalSocket.h"

#include <sys/socket.h>

namespace {

constexpr int limit_ms = 30000;
constexpr size_t fieldCount = 17;

bool ask(const std::string& world, const std::string& request, std::string& answer) {
    return LocalSocket_ask(world + "/screen.sock", request, limit_ms, answer) &&
           !answer.starts_with("error:");
}

template <typename Value> bool readNumber(std::string_view text, Value& value) {
    const auto number = BenchText_number(text);
    value = number ? static_cast<Value>(*number) : Value{};
    return number.has_value();
}

bool parseLine(std::string_view line, ScreenWidget& widget) {
    const auto fields = BenchText_split(line, '\t');
    if (fields.size() != fieldCount) {
        return false;
    }
    widget.type = fields[1];
    widget.name = BenchText_unescape(fields[2]);
    widget.id = BenchText_unescape(fields[3]);
    widget.caption = BenchText_unescape(fields[4]);
    widget.isVisible = fields[5] == "1";
    widget.isSensitive = fields[6] == "1";
    widget.hasFocus = fields[7] == "1";
    widget.isActive = fields[8] == "1";
    widget.foreground = fields[13];
    widget.background = fields[14];
    widget.font = fields[15];
    widget.text = BenchText_unescape(fields[16]);
    return readNumber(fields[0], widget.depth) && readNumber(fields[9], widget.x) &&
           readNumber(fields[10], widget.y) && readNumber(fields[11], widget.width) &&
           readNumber(fields[12], widget.height);
}

template <typename Matches>
const ScreenWidget* findWhere(const std::vector<ScreenWidget>& widgets, Matches matches) {
    const ScreenWidget* hidden = nullptr;
    for (const ScreenWidget& widget : widgets) {
        if (matches(widget) && widget.isVisible) {
            return &widget;
        }
        if (matches(widget) && hidden == nullptr) {
            hidden = &widget;
        }
    }
    return hidden;
}

/// The first visible widget with this text in the window that was made last of those that have one:
/// it lies above the others.
const ScreenWidget* findText(const std::vector<ScreenWidget>& widgets, std::string_view text) {
    const ScreenWidget* found = nullptr;
    bool isFoundHere = false; // in this window
    for (const ScreenWidget& widget : widgets) {
        isFoundHere = isFoundHere && widget.depth > 0;
        if (!isFoundHere && widget.isVisible && widget.text == text) {
            found = &widget;
            isFoundHere = true;
        }
    }
    return found;
}

/// A text that a request cannot carry is looked for in all of them.
bool fitsRequest(std::string_view text) {
    constexpr size_t longestText = 1000;
    return text.size() <= longestText && text.find_first_of("\r\n") == std::string_view::npos;
}

} // namespace

std::vector<ScreenWidget> BenchScreen_parse(std::string_view lines) {
    std::vector<ScreenWidget> widgets;
    for (const std::string_view line : BenchText_split(lines, '\n')) {
        ScreenWidget widget{};
        if (parseLine(line, widget)) {
            widgets.push_back(std::move(widget));
        }
    }
    return widgets;
}

bool BenchScreen_picture(const std::string& world, std::string& png) {
    return ask(world, "picture", png) && !png.empty();
}

bool BenchScreen_list(const std::string& world, std::vector<ScreenWidget>& widgets) {
    std::string answer;
    if (!ask(world, "list", answer)) {
        return false;
    }
    widgets = BenchScreen_parse(answer);
    return true;
}

bool BenchScreen_named(const std::string& world, std::string_view name,
                       std::vector<ScreenWidget>& widgets) {
    std::string answer;
    if (!ask(world, fitsRequest(name) ? "list " + std::string(name) : "list", answer)) {
        return false;
    }
    widgets = BenchScreen_parse(answer);
    return true;
}

bool BenchScreen_one(const std::string& world, std::string_view name,
                     std::optional<ScreenWidget>& widget) {
    std::vector<ScreenWidget> widgets;
    if (!BenchScreen_named(world, name, widgets)) {
        return false;
    }
    const ScreenWidget* found = BenchScreen_find(widgets, name);
    widget = found == nullptr ? std::nullopt : std::optional(*found);
    return true;
}

const ScreenWidget* BenchScreen_find(const std::vector<ScreenWidget>& widgets,
                                     std::string_view name) {
    const ScreenWidget* byName = findWhere(widgets, [name](const ScreenWidget& widget) {
        return widget.name == name || widget.id == name;
    });
    if (byName != nullptr && byName->isVisible) {
        return byName;
    }
    const ScreenWidget* byText = findText(widgets, name);
    return byText != nullptr ? byText : byName;
}
