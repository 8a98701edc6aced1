// SPDX-License-Identifier: MIT
#pragma once

/// Has SIGINT, SIGTERM and SIGHUP end the event loop, with 128 and the signal's number as the status. Child processes
/// do not inherit that. To be called once.
void exitOnSignals();
/// The number of the latest of them; 0 before the first.
int lastSignal();
