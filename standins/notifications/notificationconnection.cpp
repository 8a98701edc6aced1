// SPDX-License-Identifier: MIT
#include "standins/notifications/notificationconnection.h"

#include "extensioninterface.h"
#include "notificationsinterface.h"
#include "standins/notifications/include/notification.h"
#include "standins/notifications/notification_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusServiceWatcher>

#include <limits>

Q_LOGGING_CATEGORY(vorn, "vorn.notifications", QtWarningMsg)

namespace
{

/// Calls that may wait for a server that does not answer, before further ones are given up.
constexpr int maximumOutstanding = 1000;

NotificationConnection *theConnection = nullptr;

} // namespace

NotificationConnection &NotificationConnection::instance()
{
    if (!theConnection) {
        theConnection = new NotificationConnection;
        qAddPostRoutine([] { delete std::exchange(theConnection, nullptr); });
    }
    return *theConnection;
}

NotificationConnection *NotificationConnection::existing() { return theConnection; }

NotificationConnection::NotificationConnection()
    : m_connection(QString())
{
    registerDesktopNotificationTypes();
}

NotificationConnection::~NotificationConnection() { forgetIdentifiers(); }

bool NotificationConnection::use(const QDBusConnection &connection)
{
    if (!connection.isConnected()) {
        return false;
    }
    start(connection);
    return true;
}

void NotificationConnection::ensureConnected()
{
    if (!m_server) {
        start(QDBusConnection::sessionBus());
    }
}

void NotificationConnection::start(const QDBusConnection &connection)
{
    forgetIdentifiers();
    ++m_conversation;
    m_outstanding = 0;
    m_connection = connection;
    m_owner.clear();
    m_capabilities = {};
    m_capabilitiesKnown = false;
    m_responsive = true;
    const bool isBus = connection.interface() != nullptr;
    const QString service = isBus ? protocol::service() : QString();
    m_server = std::make_unique<OrgFreedesktopNotificationsInterface>(service, protocol::objectPath(), connection);
    // The server's identifier is worth having even when it comes late.
    m_server->setTimeout(std::numeric_limits<int>::max());
    connect(m_server.get(), &OrgFreedesktopNotificationsInterface::ActionInvoked, this,
            &NotificationConnection::onActionInvoked);
    connect(m_server.get(), &OrgFreedesktopNotificationsInterface::NotificationReplied, this,
            &NotificationConnection::onReplied);
    connect(m_server.get(), &OrgFreedesktopNotificationsInterface::NotificationClosed, this,
            &NotificationConnection::onClosed);
    m_extension = std::make_unique<ComVornNotificationsInterface>(service, protocol::objectPath(), connection);
    m_extension->setTimeout(std::numeric_limits<int>::max());
    m_watcher.reset();
    if (isBus) {
        m_watcher =
            std::make_unique<QDBusServiceWatcher>(service, connection, QDBusServiceWatcher::WatchForOwnerChange);
        connect(m_watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString &, const QString &, const QString &owner) {
                    if (!owner.isEmpty()) {
                        servedBy(owner);
                    }
                });
    }
}

void NotificationConnection::publish(Notification *notification)
{
    ensureConnected();
    if (notification->d->id != 0) {
        m_live.insert(notification->d->id, notification); // before anything can fail: the earlier version is shown
    }
    const auto awaited = m_awaited.find(notification->d->id);
    if (awaited != m_awaited.end()) {
        awaited->publishAgain = true;
        return;
    }
    if (!m_connection.isConnected()) {
        qCWarning(vorn) << "No connection to a notification server:" << m_connection.lastError().message();
        return;
    }
    fetchCapabilities();
    if (!m_responsive && m_outstanding >= maximumOutstanding) {
        qCWarning(vorn) << "The notification server does not answer: gave up a notification";
        return;
    }
    const DesktopNotification wire = toWire(*notification->d, m_capabilities);
    if (exceedsMessage(wire)) {
        qCWarning(vorn) << "Gave up a notification: it is larger than a D-Bus message can be";
        return;
    }
    const QDBusPendingCall call = m_server->Notify(wire.appName, wire.id, wire.appIcon, wire.summary, wire.body,
                                                   wire.actions, wire.hints, wire.expireTimeout);
    if (m_responsive && waitFor(call)) {
        take(notification, call);
        return;
    }
    if (notification->d->id == 0) {
        notification->d->id = m_nextStandIn--;
        m_live.insert(notification->d->id, notification);
        m_awaited.insert(notification->d->id, {});
    }
    takeLater(call, [this, id = notification->d->id](const QDBusPendingCall &answered) { takeLate(id, answered); });
    stopWaitingForServer("Notify");
}

void NotificationConnection::stopWaitingForServer(const char *what)
{
    if (m_responsive) {
        m_responsive = false;
        qCWarning(vorn) << "The notification server did not answer" << what << "in time; not waiting any more";
    }
}

void NotificationConnection::fetchCapabilities()
{
    if (m_capabilitiesKnown || !m_responsive) {
        return;
    }
    QDBusPendingReply<QStringList> reply = m_server->GetCapabilities();
    if (!waitFor(reply)) {
        takeLater(reply, [this](const QDBusPendingCall &answered) { takeCapabilities(answered); });
        stopWaitingForServer("GetCapabilities");
        return;
    }
    takeCapabilities(reply);
}

void NotificationConnection::takeCapabilities(const QDBusPendingCall &call)
{
    const QDBusPendingReply<QStringList> reply = call;
    if (!reply.isError()) {
        servedBy(reply.reply().service());
        m_capabilities = ServerCapabilities::named(reply.value());
        m_capabilitiesKnown = true;
    }
}

void NotificationConnection::close(uint id)
{
    ensureConnected();
    const auto awaited = m_awaited.find(id);
    if (awaited != m_awaited.end()) {
        awaited->close = true;
    } else if (id != 0 && m_connection.isConnected()) {
        // Told not to answer: nobody would look at it, and a server that hangs would leave it outstanding for good.
        m_server->call(QDBus::NoBlock, QStringLiteral("CloseNotification"), id);
    }
}

QList<Notification *> NotificationConnection::held()
{
    ensureConnected();
    QList<Notification *> notifications;
    if (m_responsive && m_connection.isConnected()) {
        const QDBusPendingReply<DesktopNotificationList> reply = m_extension->GetNotifications(ownerName());
        if (!waitFor(reply)) {
            takeLater(reply, [](const QDBusPendingCall &) {});
            stopWaitingForServer("GetNotifications");
        } else if (!reply.isError()) {
            for (const DesktopNotification &wire : reply.value()) {
                notifications.append(new Notification);
                *notifications.last()->d = fromWire(wire);
            }
            return notifications;
        }
    }
    for (const Notification *const live : qAsConst(m_live)) {
        notifications.append(new Notification);
        *notifications.last()->d = *live->d;
    }
    return notifications;
}

void NotificationConnection::forget(Notification *notification, uint id)
{
    if (m_live.value(id) == notification) {
        m_live.remove(id);
    }
}

void NotificationConnection::onClosed(uint id, uint reason)
{
    const QPointer<Notification> notification = m_live.value(id);
    if (!notification) {
        return;
    }
    Q_EMIT notification->closed(reason);
    if (notification && m_live.value(id) == notification) {
        m_live.remove(id);
        notification->d->id = 0;
    }
}
