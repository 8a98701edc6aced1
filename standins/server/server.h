// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusContext>

#include <memory>

class QDBusServer;
class QTimer;

/// A desktop notification server (freedesktop.org Desktop Notifications 1.2) for machines without a screen:
/// serves `org.freedesktop.Notifications`, `com.vorn.Notifications` and `com.vorn.Notifications.Control` to
/// every peer that connects to an address, or on a bus. Lives on one thread with an event loop.
class Server : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    enum CloseReason : uint { Expired = 1, Dismissed = 2, OnRequest = 3 };
    Q_ENUM(CloseReason)

    explicit Server(QObject *parent = nullptr);
    ~Server() override;

    /// Listens on a D-Bus address (unix:path=...); false, with a message in `errorString()`, when it cannot.
    bool listen(const QString &address);
    /// Owns the name org.freedesktop.Notifications on a bus.
    bool serveBus(QDBusConnection bus);
    /// The address that peers can connect to; empty when not listening.
    QString address() const;
    QString errorString() const { return m_error; }

public Q_SLOTS: // what the D-Bus adaptors call
    // org.freedesktop.Notifications
    QStringList GetCapabilities() const;
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int expireTimeout);
    void CloseNotification(uint id);
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion) const;

    // com.vorn.Notifications
    NotificationKeys GetNotifications(const QString &owner) const;

    // com.vorn.Notifications.Control; a D-Bus error when there is no such notification or action
    DesktopNotificationList List() const;
    void Invoke(uint id, const QString &action);
    void Reply(uint id, const QString &action, const QString &text);
    void Dismiss(uint id);

Q_SIGNALS:
    // org.freedesktop.Notifications
    void NotificationClosed(uint id, uint reason);
    void ActionInvoked(uint id, const QString &action);
    // com.vorn.Notifications.Control
    void Shown(const DesktopNotification &notification, bool replaced);
    void Closed(uint id, uint reason);

private Q_SLOTS:
    void removePeer();

private:
    struct Entry {
        DesktopNotification notification;
        QString connection; ///< name of the connection that published it
        QTimer *expiry = nullptr;
    };

    void addPeer(const QDBusConnection &connection);
    void leave(const QString &name);
    uint nextId();
    void armExpiry(uint id, Entry &entry);
    void close(uint id, CloseReason reason);
    void refuse(const QString &message) const;
    void invoke(uint id, const QString &action, const QString *answer);

    QMap<uint, Entry> m_entries;
    uint m_lastId = 0;
    std::unique_ptr<QDBusServer> m_listener;
    QStringList m_peers; ///< names of their connections
    QString m_bus;       ///< name of the bus connection that is served
    QString m_error;
};
