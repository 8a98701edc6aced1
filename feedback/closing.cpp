// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/logging.h"
#include "translation/iconcache.h"

#include <QtCore/QTimer>

namespace
{

/// Android applications often replace a notification by removing and posting it again. This delay keeps it from
/// flickering.
constexpr int closeDelayMs = 500;

} // namespace

void NotificationsImpl::notificationClosed(uint reason)
{
    auto *const notification = qobject_cast<Notification *>(sender());
    if (!notification) {
        return;
    }
    qCDebug(plugin) << "Notification" << notification->replacesId() << "closed because" << reason;
    const QString key = getKey(notification);
    if (key.isEmpty()) {
        qCWarning(plugin) << "Notification received with empty key";
        return;
    }
    if (m_pendingCloseKeys.removeAll(key) > 0) {
        // The host asked for this removal, so it is not told. The entry stays as the previous version of a notification
        // that the host may still add under this key.
        removeCachedIcons(m_iconCacheDir, {iconFileName(key)});
        return;
    }
    if (m_notifications.remove(key) > 0) {
        removeCachedIcons(m_iconCacheDir, {iconFileName(key), largeIconFileName(key)});
        disconnect(notification, nullptr, this, nullptr);
        notification->deleteLater();
        lu_plugin_notifications_removed(m_handle, key.toUtf8().constData());
    }
}

void NotificationsImpl::removeNotification(const char *key)
{
    const QString keyText = QString::fromUtf8(key);
    qCDebug(plugin) << "plugin removeNotification key:" << keyText;
    if (!m_notifications.value(keyText)) {
        return;
    }
    m_pendingCloseKeys.append(keyText);
    QTimer::singleShot(closeDelayMs, Qt::PreciseTimer, this, [this, keyText] { onCloseNotifTimerExpired(keyText); });
}

void NotificationsImpl::onCloseNotifTimerExpired(const QString &key)
{
    if (m_pendingCloseKeys.removeAll(key) == 0) {
        return;
    }
    // A client library may report the close before close() returns. The host is not told, as the entry is gone by then.
    Notification *const notification = m_notifications.take(key);
    if (!notification) {
        return;
    }
    notification->close();
    disconnect(notification, nullptr, this, nullptr);
    notification->deleteLater();
    removeCachedIcons(m_iconCacheDir, {iconFileName(key), largeIconFileName(key)});
}
