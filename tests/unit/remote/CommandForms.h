// The commands' patterns and the ways to write them.
#pragma once

#include <string>
#include <vector>

/// The patterns of the subsystems, as clients know them: each stands with the tests of its
/// commands.
extern const std::vector<std::string> commonPatterns;
extern const std::vector<std::string> measurePatterns;
extern const std::vector<std::string> pulsePatterns;
extern const std::vector<std::string> identityPatterns;
extern const std::vector<std::string> serialPatterns;
extern const std::vector<std::string> lanPatterns;
extern const std::vector<std::string> pulseModePatterns;
extern const std::vector<std::string> screenPatterns;
extern const std::vector<std::string> tracePatterns;

/// The pattern with its optional nodes or without, in long or in short form, in upper case.
std::string CommandForms_spelled(const std::string& pattern, bool withOptional, bool longForm);

/// All of these, in upper and in lower case.
std::vector<std::string> CommandForms_all(const std::string& pattern);

std::string CommandForms_inLowerCase(std::string text);
