// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <initializer_list>

/// Has `handle` called from the event loop with the number of each of these signals that comes. Child processes do not
/// inherit that. Once in a process.
void onSignals(std::initializer_list<int> signals, const std::function<void(int)> &handle);
/// The number of the latest of them that came; 0 if none has.
int lastSignal();
