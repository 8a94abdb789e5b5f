#ifndef SETTINGS_BACKGROUND_SAVE_H
#define SETTINGS_BACKGROUND_SAVE_H

#include <cstdint>

/// Saving for those who must not wait for the disk: a thread of its own runs the save. A request
/// made while another one still waits is the same as that one; the save takes what is to be saved
/// when it begins.

/// Lets the thread run `save` at once, or as soon as it has finished the one that it is at. Where
/// there can be no thread, the caller runs it. Any thread; `save` may take locks that the caller
/// does not hold.
void BackgroundSave_request(void (*save)());

/// Waits until no request waits and no save is under way, at most `limit_ms`. True when it is so.
/// Any thread.
bool BackgroundSave_wait(uint32_t limit_ms);

#endif
