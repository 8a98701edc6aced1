#include "notificationconnection.h"

#include "extensioninterface.h"
#include "notification.h"
#include "notification_p.h"
#include "notificationsinterface.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QLoggingCategory>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusServiceWatcher>

#include <limits>

Q_LOGGING_CATEGORY(vorn, "vorn.notifications", QtWarningMsg)

namespace
{

/// How long a caller may be held up by a server that does not answer.
constexpr int patienceMs = 1000;
/// Calls that may wait for a server that does not answer, before further ones are given up.
constexpr int maximumOutstanding = 1000;

NotificationConnection *theConnection = nullptr;

bool isTimeout(const QDBusError &error)
{
    return error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout ||
           error.type() == QDBusError::TimedOut;
}

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
    m_connection = connection;
    m_owner.clear();
    m_capabilitiesKnown = false;
    m_responsive = true;
    const bool isBus = connection.interface() != nullptr;
    const QString service = isBus ? protocol::service() : QString();
    m_server = std::make_unique<OrgFreedesktopNotificationsInterface>(service, protocol::objectPath(), connection);
    // The server's identifier is worth having even when it comes late.
    m_server->setTimeout(std::numeric_limits<int>::max());
    connect(m_server.get(), &OrgFreedesktopNotificationsInterface::ActionInvoked, this,
            &NotificationConnection::onActionInvoked);
    connect(m_server.get(), &OrgFreedesktopNotificationsInterface::NotificationClosed, this,
            &NotificationConnection::onClosed);
    m_extension = std::make_unique<ComVornNotificationsInterface>(service, protocol::objectPath(), connection);
    m_extension->setTimeout(patienceMs);
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
    const QDBusPendingCall call = m_server->Notify(wire.appName, wire.id, wire.appIcon, wire.summary, wire.body,
                                                   wire.actions, wire.hints, wire.expireTimeout);
    if (m_responsive && waitFor(call)) {
        take(notification, call);
        return;
    }
    takeLater(notification, call);
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
        takeLater(nullptr, reply);
        stopWaitingForServer("GetCapabilities");
        return;
    }
    if (!reply.isError()) {
        servedBy(reply.reply().service());
        m_capabilities.bodyMarkup = reply.value().contains(QLatin1String("body-markup"));
        m_capabilities.persistence = reply.value().contains(QLatin1String("persistence"));
        m_capabilitiesKnown = true;
    }
}

/// Waits without an event loop of its own, so nothing else happens on this thread meanwhile. The wait is bounded
/// while the call itself is not.
bool NotificationConnection::waitFor(const QDBusPendingCall &call)
{
    QDBusPendingCallWatcher watcher(call);
    watcher.moveToThread(m_bell.thread());
    const QDeadlineTimer deadline(patienceMs);
    while (!call.isFinished() && !deadline.hasExpired()) {
        m_bell.wait(deadline.remainingTime());
    }
    return call.isFinished();
}

/// Takes the answer to `call` when it comes. `notification` may be null, or gone by then.
void NotificationConnection::takeLater(Notification *notification, const QDBusPendingCall &call)
{
    ++m_outstanding;
    auto *const watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, target = QPointer<Notification>(notification)] {
                --m_outstanding;
                m_responsive = true;
                watcher->deleteLater();
                if (target) {
                    take(target, *watcher);
                }
            });
}

void NotificationConnection::take(Notification *notification, const QDBusPendingCall &call)
{
    const QDBusPendingReply<uint> reply = call;
    if (reply.isError()) {
        qCWarning(vorn) << "Notification not shown:" << reply.error().message();
        return;
    }
    servedBy(reply.reply().service());
    const uint id = reply.value();
    forget(notification, notification->d->id);
    notification->d->id = id;
    if (id == 0) {
        qCWarning(vorn) << "The notification server gave no identifier";
        return;
    }
    m_live.insert(id, notification);
}

void NotificationConnection::close(uint id)
{
    ensureConnected();
    if (id != 0 && m_connection.isConnected()) {
        // Told not to answer: nobody would look at it.
        m_server->call(QDBus::NoBlock, QStringLiteral("CloseNotification"), id);
    }
}

QList<Notification *> NotificationConnection::held()
{
    ensureConnected();
    QList<Notification *> notifications;
    if (m_responsive && m_connection.isConnected()) {
        QDBusPendingReply<DesktopNotificationList> reply = m_extension->GetNotifications(ownerName());
        reply.waitForFinished();
        if (!reply.isError()) {
            for (const DesktopNotification &wire : reply.value()) {
                notifications.append(new Notification);
                *notifications.last()->d = fromWire(wire);
            }
            return notifications;
        }
        if (isTimeout(reply.error())) {
            stopWaitingForServer("GetNotifications");
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

/// Identifiers mean nothing to a server that did not issue them; they may even be another program's. So they
/// are dropped, and taken back only if the new server confirms them.
void NotificationConnection::servedBy(const QString &owner)
{
    if (owner == m_owner) {
        return;
    }
    m_owner = owner;
    m_capabilitiesKnown = false;
    m_responsive = true;
    QHash<uint, QPointer<Notification>> dropped;
    const Live live = forgetIdentifiers();
    for (auto entry = live.cbegin(); entry != live.cend(); ++entry) {
        dropped.insert(entry.key(), entry.value());
    }
    if (dropped.isEmpty()) {
        return;
    }
    auto *const watcher = new QDBusPendingCallWatcher(m_extension->GetNotifications(ownerName()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, dropped] {
        watcher->deleteLater();
        const QDBusPendingReply<DesktopNotificationList> reply = *watcher;
        for (const DesktopNotification &wire : reply.isError() ? DesktopNotificationList() : reply.value()) {
            Notification *const notification = dropped.value(wire.id);
            if (notification && notification->d->id == 0 && !m_live.contains(wire.id)) {
                notification->d->id = wire.id;
                m_live.insert(wire.id, notification);
            }
        }
    });
}

NotificationConnection::Live NotificationConnection::forgetIdentifiers()
{
    Live live;
    live.swap(m_live);
    for (Notification *const notification : qAsConst(live)) {
        notification->d->id = 0;
    }
    return live;
}

void NotificationConnection::onActionInvoked(uint id, const QString &action)
{
    if (Notification *const notification = m_live.value(id)) {
        Q_EMIT notification->actionInvoked(action);
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
