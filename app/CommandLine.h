#ifndef APP_COMMAND_LINE_H
#define APP_COMMAND_LINE_H

/// Version, build date and time of this release.
const char* app_version();

/// Answers the options "-v" (version) and any other (usage) on standard output, in the order in
/// which they stand. True when there was at least one, and the program has nothing else to do.
/// A first argument that begins with "-prog-args" or "--g-fatal-warning" skips all this.
bool CommandLine_handle(int argc, char* argv[]);

#endif
