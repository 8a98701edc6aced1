// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QHash>
#include <QtCore/QObject>

class BusMonitor;
class ComVornNotificationsControlInterface;

/// What a notification server shows. On our own, the user can be played, too.
class Screen : public QObject
{
    Q_OBJECT

public:
    /// Watches the server that is called over `client`: our own as a peer, or any on a bus, where only what `client`
    /// has it show is seen. What is in the way; empty when nothing is.
    QString watch(const QDBusConnection &client);
    /// Returns once all has arrived that the server was sent or has sent before; false when it does not answer.
    bool settle();

    bool isEmpty() const { return m_shown.isEmpty(); }
    bool shows(const QString &key) const { return m_ids.contains(key); }
    /// The key of what is shown from now on without telling its own.
    void setKey(const QString &key) { m_key = key; }

    /// Whether the user can be played.
    bool isOperable() const { return m_control != nullptr; }
    /// The user does the `deed`, "invoke", "reply" or "dismiss", to the notification with this key. What is
    /// wrong; empty when nothing is. `action` is the name of one of its actions or the text on the button.
    QString act(const QString &deed, const QString &key, const QString &action, const QString &text) const;

Q_SIGNALS:
    void shown(const QString &key, const DesktopNotification &notification, bool replaced);
    void closed(const QString &key, const DesktopNotification &notification, uint reason);

private:
    void onShown(const DesktopNotification &notification, bool replaced);
    void onClosed(uint id, uint reason);

    struct Shown {
        QString key;
        DesktopNotification notification;
    };

    QDBusConnection m_client = QDBusConnection(QString());
    ComVornNotificationsControlInterface *m_control = nullptr;
    BusMonitor *m_monitor = nullptr;
    QString m_key;
    QHash<uint, Shown> m_shown;
    QHash<QString, uint> m_ids; ///< by key
};
