#ifndef DISPLAY_MODEL_GRAPH_HISTORY_H
#define DISPLAY_MODEL_GRAPH_HISTORY_H

#include "SettingsTable.h"

#include <cstdint>

/// How the gathered samples of a display follow its graph settings, whoever changes them.

/// Stores a channel's graph settings, and lets its samples follow. Any thread.
void GraphHistory_store(const GraphSettings_t& settings, uint32_t channel);

/// Lets a channel's samples follow settings that have been stored: those of another direction than
/// `wasReflected` are dropped, since forward and reflected samples never mix, and the averages get
/// their width. A channel above 1 is ignored. Any thread.
void GraphHistory_follow(uint32_t channel, bool wasReflected);

#endif
