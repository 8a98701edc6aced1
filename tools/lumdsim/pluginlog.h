// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

/// Has `report` called whenever the plug-in drops an update that changes nothing. Only its debug messages tell, so
/// they are switched on; they are printed where the user's logging rules ask for them. Once in a process.
void onUnchanged(std::function<void()> report);
