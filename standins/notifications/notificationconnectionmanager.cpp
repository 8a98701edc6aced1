// SPDX-License-Identifier: MIT
#include "standins/notifications/include/notificationconnectionmanager.h"
#include "standins/notifications/publications.h"

bool NotificationConnectionManager::useDBusConnection(const QDBusConnection &connection)
{
    return Publications::instance().use(connection);
}
