#include "notificationconnectionmanager.h"

#include "notificationconnection.h"

bool NotificationConnectionManager::useDBusConnection(const QDBusConnection &connection)
{
    return NotificationConnection::instance().use(connection);
}
