#ifndef BENCH_PRELOAD_WORLD_TREE_H
#define BENCH_PRELOAD_WORLD_TREE_H

#include <string_view>

/// What a world folder holds; WORLD.md tells the rest. The instrument's own paths lie below "root".
namespace WorldFile {
constexpr const char* syslog = "syslog";
constexpr const char* commands = "commands";
constexpr const char* clock = "clock";
constexpr const char* faults = "faults";
constexpr const char* addresses = "ifaddrs";
constexpr const char* port = "port";
constexpr const char* boundPort = "port.bound";
constexpr const char* screen = "screen.sock";
} // namespace WorldFile

/// The addresses with which a new world's interfaces run.
constexpr const char* WorldTree_addresses = "lo 127.0.0.1 255.0.0.0\n"
                                            "eth0\n"
                                            "eth0 192.168.1.50 255.255.255.0\n"
                                            "eth0:0 192.168.2.1 255.255.255.0\n";

/// A path of the instrument that must never reach this machine's own.
struct InstrumentPath {
    std::string_view path;
    bool isTree; ///< the folder and all below it; otherwise the file and its siblings "path.*"
};

/// True when the absolute path, free of "." and "..", belongs to the instrument.
bool WorldTree_isInstrumentPath(std::string_view path);

/// Makes the world's folders and standing files where they are missing; what is there is kept.
/// False if the folder itself cannot be made (errno tells).
bool WorldTree_create(const char* folder);

/// Removes a world with all that is in it. True when nothing is left.
bool WorldTree_remove(const char* folder);

/// Removes the worlds beside this one, named by process numbers, whose process has gone.
void WorldTree_removeStale(const char* parent);

#endif
