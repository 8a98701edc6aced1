// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"
#include "standins/server/endpoint.h"

#include <QtCore/QMap>

class QTimer;

/// A desktop notification server (freedesktop.org Desktop Notifications 1.2) for machines without a screen, with the
/// interfaces `org.freedesktop.Notifications` and `com.vorn.Notifications`. Lives on one thread with an event loop.
class Server : public Endpoint
{
    Q_OBJECT

public:
    explicit Server(QObject *parent = nullptr);

    /// The user invokes the action `name`, with an `answer` where the action takes one. False when there is no
    /// such notification or action; `error` may be null.
    bool invoke(uint id, const QString &name, QString *error = nullptr, const QString *answer = nullptr);
    /// The user dismisses the notification.
    bool dismiss(uint id, QString *error = nullptr);
    QList<DesktopNotification> notifications() const;

public Q_SLOTS: // The D-Bus adaptors call these.
    // org.freedesktop.Notifications
    QStringList GetCapabilities() const;
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int expireTimeout);
    void CloseNotification(uint id);
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion) const;

    // com.vorn.Notifications
    NotificationKeys GetNotifications(const QString &owner) const;

Q_SIGNALS:
    // org.freedesktop.Notifications
    void NotificationClosed(uint id, uint reason);
    void ActionInvoked(uint id, const QString &action);
    // For this process
    void shown(const DesktopNotification &notification, bool replaced);

private:
    struct Entry {
        DesktopNotification notification;
        QString connection; ///< name of the connection that published it
        QTimer *expiry = nullptr;
    };

    uint nextId();
    void armExpiry(Entry &entry);
    void close(uint id, protocol::CloseReason reason);
    /// Null, with an `error`, when there is none.
    const Entry *find(uint id, QString *error) const;

    QMap<uint, Entry> m_entries;
    uint m_lastId = 0;
};
