#include "CommandForms.h"

#include <algorithm>
#include <cctype>
#include <regex>

std::string CommandForms_spelled(const std::string& pattern, bool withOptional, bool longForm) {
    const std::string text =
        std::regex_replace(pattern, std::regex(R"(\[(:[^\]]*)\])"), withOptional ? "$1" : "");
    std::string result;
    bool cut = false;
    for (const char c : text) {
        if (c == ':' || c == '?') {
            cut = false;
        }
        cut = cut || (!longForm && std::islower(static_cast<unsigned char>(c)) != 0);
        if (!cut) {
            result += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

std::vector<std::string> CommandForms_all(const std::string& pattern) {
    std::vector<std::string> forms;
    for (const bool withOptional : {false, true}) {
        for (const bool longForm : {false, true}) {
            forms.push_back(CommandForms_spelled(pattern, withOptional, longForm));
            forms.push_back(CommandForms_inLowerCase(forms.back()));
        }
    }
    return forms;
}

std::string CommandForms_inLowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}
