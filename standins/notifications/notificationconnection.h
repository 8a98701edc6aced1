// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/doorbell.h"
#include "standins/notifications/wire.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingCall>

#include <functional>
#include <limits>
#include <memory>

class ComVornNotificationsInterface;
class Notification;
class OrgFreedesktopNotificationsInterface;
class QDBusServiceWatcher;

/// The one conversation of the process with the notification server. Lives on the thread that uses it first,
/// until the application object goes away.
class NotificationConnection : public QObject
{
    Q_OBJECT

public:
    /// Created on first use.
    static NotificationConnection &instance();
    /// Null while there is none.
    static NotificationConnection *existing();

    ~NotificationConnection() override;

    bool use(const QDBusConnection &connection);
    void publish(Notification *notification);
    void close(uint id);
    /// What the server holds for this program.
    QList<Notification *> held();
    /// `notification` is about to be destroyed.
    void forget(Notification *notification, uint id);

private:
    using Live = QHash<uint, Notification *>;
    /// What is to be done once the identifier is known.
    struct Wish {
        bool publishAgain = false;
        bool close = false;
    };

    NotificationConnection();
    void ensureConnected();
    void start(const QDBusConnection &connection);
    void stopWaitingForServer(const char *what);
    void fetchCapabilities();
    bool waitFor(const QDBusPendingCall &call);
    void takeLater(const QDBusPendingCall &call, const std::function<void(const QDBusPendingCall &)> &taken);
    void takeCapabilities(const QDBusPendingCall &call);
    void takeLate(uint id, const QDBusPendingCall &call);
    void take(Notification *notification, const QDBusPendingCall &call);
    void servedBy(const QString &owner);
    Live forgetIdentifiers();
    void onActionInvoked(uint id, const QString &key);
    void onReplied(uint id, const QString &text);
    void invoke(Notification *notification, const QVariantMap &action, const QString &answer) const;
    void onClosed(uint id, uint reason);

    QDBusConnection m_connection;
    std::unique_ptr<OrgFreedesktopNotificationsInterface> m_server;
    std::unique_ptr<ComVornNotificationsInterface> m_extension;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    QString m_owner; ///< unique bus name of the server that issued the identifiers
    ServerCapabilities m_capabilities;
    bool m_capabilitiesKnown = false;
    bool m_responsive = true; ///< whether waiting for the server makes sense
    int m_outstanding = 0;    ///< calls nobody waits for
    int m_conversation = 0;   ///< counts the connections; answers of earlier ones do not matter
    Live m_live;              ///< who published each identifier last
    /// New notifications whose identifier is late; they go under a stand-in until it comes, so that an update
    /// does not show a second one, and a removal is not lost.
    QHash<uint, Wish> m_awaited;
    uint m_nextStandIn = std::numeric_limits<uint>::max();
    Doorbell m_bell;
};
