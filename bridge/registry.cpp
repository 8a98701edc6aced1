// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/logging.h"
#include "translation/hints.h"

QString NotificationsImpl::getKey(Notification *notification) const
{
    return notification->hintValue(hint::originKey()).toString();
}

void NotificationsImpl::connectNotif(Notification *notification)
{
    connect(notification, &Notification::actionInvoked, this, &NotificationsImpl::actionInvoked);
    connect(notification, &Notification::closed, this, &NotificationsImpl::notificationClosed);
}

bool NotificationsImpl::supersede(const QString &key, Notification *fresh)
{
    Notification *const old = m_notifications.value(key);
    if (!old) {
        return true;
    }
    fresh->setReplacesId(old->replacesId());
    m_pendingCloseKeys.removeAll(key);
    if (unchanged(old, fresh)) {
        qCDebug(plugin) << "Notification " << fresh->replacesId() << " (" << key << ") unchanged";
        qCDebug(plugin) << "Not publishing unchanged notification " << key;
        return false;
    }
    qCDebug(plugin) << "Notification " << fresh->replacesId() << " (" << key << ") was changed";
    m_notifications.remove(key);
    delete old;
    return true;
}

void NotificationsImpl::newConnection() { m_pendingCloseKeys = QStringList(); }
