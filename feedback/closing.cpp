// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/logging.h"
#include "translation/iconcache.h"

#include <QtCore/QTimer>

#include <chrono>

namespace
{

/// Android applications often replace a notification by removing and posting it again. Waiting this long
/// before it is closed keeps it from flickering.
constexpr std::chrono::milliseconds closeDelay(500);

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
        // The host knows already: it asked for the removal. The entry stays, as the earlier version of what
        // the host may yet add under this key.
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
    QTimer::singleShot(closeDelay, Qt::PreciseTimer, this, [this, keyText] { onCloseNotifTimerExpired(keyText); });
}

void NotificationsImpl::onCloseNotifTimerExpired(const QString &key)
{
    if (m_pendingCloseKeys.removeAll(key) == 0) {
        return;
    }
    Notification *const notification = m_notifications.value(key);
    if (!notification) {
        return;
    }
    notification->close();
    disconnect(notification, nullptr, this, nullptr);
    notification->deleteLater();
    m_notifications.remove(key);
    removeCachedIcons(m_iconCacheDir, {iconFileName(key), largeIconFileName(key)});
}
