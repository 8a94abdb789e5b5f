#ifndef APP_APPLICATION_DIRECTORY_H
#define APP_APPLICATION_DIRECTORY_H

#include <span>
#include <string_view>

constexpr unsigned applicationDirectorySize = 4096;

/// Directory of the running executable, where its "resources" folder lies.
extern char application_dir[applicationDirectorySize];

/// Stores the directory part of an executable's path; "/usr/local/bin" when the path is empty or
/// has no "/".
void ApplicationDirectory_derive(std::string_view executable,
                                 std::span<char, applicationDirectorySize> directory);

/// Finds the directory and makes it the working directory. A failure is told on standard error and
/// ends the process. Main thread.
void ApplicationDirectory_enter();

#endif
