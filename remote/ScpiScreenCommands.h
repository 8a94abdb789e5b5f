#ifndef REMOTE_SCPI_SCREEN_COMMANDS_H
#define REMOTE_SCPI_SCREEN_COMMANDS_H

#include <cstddef>
#include <memory>

/// Pictures of the screen, which a higher floor takes.

enum class ScpiPictureOutcome { taken, noScreen, noMemory, failed };

struct ScpiPicture {
    ScpiPictureOutcome outcome;
    /// A PNG file, given back by the function that comes with it; empty unless taken.
    std::unique_ptr<char, void (*)(void*)> png{nullptr, nullptr};
    size_t size = 0;
};

/// Names the function that takes them; null, as it is at the start, for none. It is called by a
/// link's thread, without a lock. Main thread, before the servers.
void ScpiScreenCommands_registerCamera(ScpiPicture (*take)());

#endif
