// SPDX-License-Identifier: MIT
#include "standins/notifications/include/notificationconnectionmanager.h"
#include "standins/notifications/notificationconnection.h"

bool NotificationConnectionManager::useDBusConnection(const QDBusConnection &connection)
{
    return NotificationConnection::instance().use(connection);
}
