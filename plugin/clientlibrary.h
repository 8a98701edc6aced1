// SPDX-License-Identifier: MIT
#pragma once

/// The platform's notifications client library, as the plug-in uses it. This is the one file to change where a
/// device's library differs from what follows: docs/integration.md shows how.
#include <notification.h>
#include <notificationconnectionmanager.h>

/// The values of `Notification::setUrgency()` and `Notification::urgency()`, in ascending order.
namespace urgency
{
constexpr auto low = Notification::Low;
constexpr auto normal = Notification::Normal;
constexpr auto critical = Notification::Critical;
} // namespace urgency

/// Sends all notifications over `connection` from now on. False when the library refuses it.
inline bool useConnection(const QDBusConnection &connection)
{
    return NotificationConnectionManager::useDBusConnection(connection);
}
