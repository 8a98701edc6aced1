// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"
#include "standins/server/endpoint.h"

#include <QtCore/QMap>
#include <QtDBus/QDBusError>

class QTimer;

/// A desktop notification server (freedesktop.org Desktop Notifications 1.2) for machines without a screen, with the
/// interfaces `org.freedesktop.Notifications`, `com.vorn.Notifications` and `com.vorn.Notifications.Control`. Lives on
/// one thread with an event loop. Holds and gives out hints as they came, see `plainMap`.
class Server : public Endpoint
{
    Q_OBJECT

public:
    enum CloseReason : uint { Expired = 1, Dismissed = 2, OnRequest = 3 };
    Q_ENUM(CloseReason)

    explicit Server(QObject *parent = nullptr);

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
    void ActivationToken(uint id, const QString &token);
    // com.vorn.Notifications.Control
    void Shown(const DesktopNotification &notification, bool replaced);
    void Closed(uint id, uint reason);

private:
    struct Entry {
        DesktopNotification notification;
        QString connection; ///< name of the connection that published it
        QTimer *expiry = nullptr;
    };

    uint nextId();
    void armExpiry(Entry &entry);
    void close(uint id, CloseReason reason);
    void refuse(const QString &message, QDBusError::ErrorType type = QDBusError::InvalidArgs) const;
    /// Null, and the caller is told, when there is none.
    const Entry *find(uint id) const;
    void invoke(uint id, const QString &action, const QString *answer);

    QMap<uint, Entry> m_entries;
    uint m_lastId = 0;
};
