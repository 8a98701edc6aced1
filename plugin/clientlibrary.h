// SPDX-License-Identifier: MIT
#pragma once

/// The platform's notifications client library, as the plug-in uses it. A device's library may differ from it:
/// docs/integration.md shows how to adapt this file, which is the only one to change.
#include <notification.h>
#include <notificationconnectionmanager.h>

/// The values of `Notification::setUrgency()` and `Notification::urgency()`, in ascending order.
namespace urgency
{
constexpr auto low = Notification::Low;
constexpr auto normal = Notification::Normal;
constexpr auto critical = Notification::Critical;
} // namespace urgency

/// Makes the library send all notifications over `connection`. False when the library refuses it.
inline bool useConnection(const QDBusConnection &connection)
{
    return NotificationConnectionManager::useDBusConnection(connection);
}
