#pragma once

#include "doorbell.h"
#include "wire.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingCall>

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

    NotificationConnection();
    void ensureConnected();
    void start(const QDBusConnection &connection);
    void stopWaitingForServer(const char *what);
    void fetchCapabilities();
    bool waitFor(const QDBusPendingCall &call);
    void takeLater(Notification *notification, const QDBusPendingCall &call);
    void take(Notification *notification, const QDBusPendingCall &call);
    void servedBy(const QString &owner);
    Live forgetIdentifiers();
    void onActionInvoked(uint id, const QString &action);
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
    Live m_live;              ///< who published each identifier last
    Doorbell m_bell;
};
