#include "bridge/notificationsimpl.h"

#include "plugin/logging.h"

#include <notification.h>

#include <QtCore/QFileInfo>

namespace
{

/// Removes the directory with all that is in it. Of a link that somebody put in its place only the link goes,
/// not what it points to.
bool removeDirectory(QDir &directory)
{
    if (QFileInfo(directory.path()).isSymLink()) {
        return QFile::remove(directory.path());
    }
    return !directory.exists() || directory.removeRecursively();
}

} // namespace

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
    if (!removeDirectory(m_iconCacheDir)) {
        qCDebug(plugin) << "Cannot clear icon cache dir at" << m_iconCacheDir.path();
    }
    if (!m_iconCacheDir.exists() && !m_iconCacheDir.mkpath(QStringLiteral("."))) {
        qCCritical(plugin) << "Cannot create icon cache dir at" << m_iconCacheDir.path();
    }
}
