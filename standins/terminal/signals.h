// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <initializer_list>

/// Calls `handle` from the event loop with the number of each of these signals that comes. Child processes do not
/// inherit that. To be called once.
void onSignals(std::initializer_list<int> signals, const std::function<void(int)> &handle);
/// The number of the latest of them; 0 before the first.
int lastSignal();
