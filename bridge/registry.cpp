#include "bridge/notificationsimpl.h"

#include <notification.h>

QString NotificationsImpl::getKey(Notification *notification) const
{
    return notification->hintValue(QStringLiteral("x-vorn-origin-key")).toString();
}

void NotificationsImpl::connectNotif(Notification *notification)
{
    connect(notification, &Notification::actionInvoked, this, &NotificationsImpl::actionInvoked);
    connect(notification, &Notification::closed, this, &NotificationsImpl::notificationClosed);
}

void NotificationsImpl::newConnection() { m_pendingCloseKeys = QStringList(); }
