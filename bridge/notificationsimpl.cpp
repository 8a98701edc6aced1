// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"

#include "plugin/clientlibrary.h"
#include "plugin/logging.h"

#include <QtCore/QStandardPaths>
#include <QtDBus/QDBusConnection>

#include <utility>

namespace
{

/// Gives the host's private connection to the client library, which keeps its default connection when there is none.
void usePeerConnection()
{
    const QString address = QString::fromUtf8(qgetenv("LUMD_P2P_DBUS_ADDRESS"));
    if (address.isEmpty()) {
        return;
    }
    const QDBusConnection connection = QDBusConnection::connectToPeer(address, QStringLiteral("peerconnection"));
    qCDebug(plugin) << "P2P dbus connection" << address << (connection.isConnected() ? "successful" : "failed");
    if (!useConnection(connection)) {
        qCCritical(plugin) << "Could not set p2p dbus connection";
    }
}

} // namespace

NotificationsImpl::NotificationsImpl(lu_handle *handle, bool actionInput, const std::string &alertCommand,
                                     QObject *parent)
    : QObject(parent)
    , m_handle(handle)
    , m_iconCacheDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation) + QStringLiteral("/lumd/notif"))
    , m_actionInput(actionInput)
    , m_alertCommand(alertCommand)
{
    qCDebug(plugin) << "Starting notification plugin.";
    usePeerConnection();
    const lu_plugin_notifications_callbacks table = callbacks();
    lu_plugin_notifications_callbacks_set(m_handle, &table, this);
    cleanupNotifications();
    connect(&m_alertWatcher, &QFutureWatcherBase::finished, this, &NotificationsImpl::handleAlertFinished);
}

NotificationsImpl::~NotificationsImpl()
{
    // A client library may report a close before close() returns. The host is not told: the registry is empty.
    const QMap<QString, Notification *> registered = std::exchange(m_notifications, {});
    cleanupNotifications();
    lu_plugin_notifications_callbacks_unset(m_handle);
    qDeleteAll(registered);
}
