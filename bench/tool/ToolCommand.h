#ifndef BENCH_TOOL_TOOL_COMMAND_H
#define BENCH_TOOL_TOOL_COMMAND_H

#include "ToolAnswer.h"

#include <string>
#include <string_view>

/// The commands for a running bench: those that its daemon carries out, and the tool's own. Each
/// returns the tool's exit status; why something failed goes to standard error.

bool ToolCommand_knows(std::string_view name);

/// Carries one command out on the bench of a world; its name must be known. Files that its words
/// name without a folder's root lie in `folder`, empty for the working folder.
int ToolCommand_run(const std::string& world, const Words& words, const std::string& folder);

/// A line for each.
std::string ToolCommand_help();

#endif
