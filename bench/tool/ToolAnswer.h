#ifndef BENCH_TOOL_TOOL_ANSWER_H
#define BENCH_TOOL_TOOL_ANSWER_H

#include <string>
#include <vector>

/// What the tool's commands take and how they say that something failed.

/// A command line, its command first.
using Words = std::vector<std::string>;

/// Both write to standard error and return the exit status for it.
int ToolAnswer_fail(const std::string& why);
int ToolAnswer_usage(const std::string& text);

#endif
