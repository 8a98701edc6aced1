// SPDX-License-Identifier: MIT
#include "standins/notifications/sessionbus.h"

#include <QtDBus/QDBusConnection>

#include <system_error>
#include <thread>
#include <utility>

std::shared_future<void> connectToSessionBus()
{
    std::promise<void> done;
    std::shared_future<void> future = done.get_future().share();
    try {
        std::thread([done = std::move(done)]() mutable {
            QDBusConnection::sessionBus();
            done.set_value();
        }).detach();
    } catch (const std::system_error &) { // there are no more threads
        return {};
    }
    return future;
}
