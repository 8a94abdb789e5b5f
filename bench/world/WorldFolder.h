#ifndef BENCH_WORLD_WORLD_FOLDER_H
#define BENCH_WORLD_WORLD_FOLDER_H

#include <cstdint>
#include <string>

/// A world's folder: the instrument's files as they are when it is switched on, and where they lie.

/// Makes the folder and the instrument's files in it. Files that are already there are kept, so
/// that a test can lay out its own first. False with errno when the folder cannot be written.
bool WorldFolder_create(const std::string& world);

/// Makes an empty folder of this name, with a suffix, where temporary files belong. Empty with
/// errno when it cannot be made.
std::string WorldFolder_makeTemporary(const std::string& name);

/// Removes a file, or a folder with all its content. False when there was none.
bool WorldFolder_remove(const std::string& world);

/// Where an instrument path such as "/dev/ttyS1" really lies.
std::string WorldFolder_path(const std::string& world, const std::string& instrumentPath);

/// Replaces a file of the instrument whole, so that no reader sees a part of it.
bool WorldFolder_write(const std::string& world, const std::string& instrumentPath,
                       const std::string& content);

/// Content of a file of the instrument, empty when there is none.
std::string WorldFolder_read(const std::string& world, const std::string& instrumentPath);

/// Content of any file, empty when there is none, and replacing it whole.
std::string WorldFolder_readFile(const std::string& path);
bool WorldFolder_writeFile(const std::string& path, const std::string& content);

/// Supply current file of serial sensor port 0 or 1, by its instrument path.
const char* WorldFolder_currentFile(uint32_t port);

/// The folder of this user for worlds and for what tells which benches run.
std::string WorldFolder_userFolder();

#endif
