// The commands' patterns and the ways to write them.
#pragma once

#include <string>
#include <vector>

/// Every pattern of the command table, in its order, as clients know it.
const std::vector<std::string>& CommandForms_patterns();

/// The pattern with its optional nodes or without, in long or in short form, in upper case.
std::string CommandForms_spelled(const std::string& pattern, bool withOptional, bool longForm);

/// All of these, in upper and in lower case.
std::vector<std::string> CommandForms_all(const std::string& pattern);

std::string CommandForms_inLowerCase(std::string text);
