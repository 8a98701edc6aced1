// SPDX-License-Identifier: MIT
#pragma once

#include <future>

/// Connects `QDBusConnection::sessionBus()`. That waits for the bus daemon's welcome, in Qt for as long as 25 s; here
/// that is another thread's. What is returned is not valid when the system has no more threads.
std::shared_future<void> connectToSessionBus();
