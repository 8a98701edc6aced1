// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/logging.h"
#include "translation/iconcache.h"

void NotificationsImpl::cleanupNotifications()
{
    const QList<QObject *> shown = Notification::notifications();
    for (QObject *const object : shown) {
        if (auto *const notification = qobject_cast<Notification *>(object)) {
            notification->close();
        }
        delete object;
    }
    closeDexOptNotification();
    if (!removeIconCache(m_iconCacheDir)) {
        qCDebug(plugin) << "Cannot clear icon cache dir at" << m_iconCacheDir.path();
    }
    if (!m_iconCacheDir.exists() && !createIconCache(m_iconCacheDir)) {
        qCCritical(plugin) << "Cannot create icon cache dir at" << m_iconCacheDir.path();
    }
}
