// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/busmonitor.h"

#include <QtCore/QHash>

#include <memory>

class ComVornNotificationsControlInterface;

/// What a notification server shows. Our own tells everything, and the user is played there; of any other one on the
/// session bus, it is known what it is asked to show.
class Screen : public QObject
{
    Q_OBJECT

public:
    /// Watches the server that is called over `client`, a bus or a peer. What is in the way; empty when nothing is.
    QString watch(const QDBusConnection &client);
    /// Returns once all has arrived that the server was sent or has sent before; false when it does not answer.
    bool settle();

    /// Whether the server is our own.
    bool isOurs() const { return m_control != nullptr; }
    /// The user does the `deed`, "invoke", "reply" or "dismiss", to the notification with this key. What is
    /// wrong; empty when nothing is. `action` is the name of one of its actions or the text on the button.
    QString act(const QString &deed, const QString &key, const QString &action, const QString &text) const;

    bool isEmpty() const { return m_shown.isEmpty() && m_ids.isEmpty(); }
    bool shows(const QString &key) const { return m_ids.contains(key); }
    /// What others' servers do not tell: the key of what is shown next, and that what has this key, or if there is none
    /// everything, is gone.
    void setKey(const QString &key) { m_key = key; }
    void forget(const QString &key);

Q_SIGNALS:
    void shown(const QString &key, const DesktopNotification &notification, bool replaced);
    void closed(const QString &key, const DesktopNotification &notification, uint reason);

private:
    void onShown(const DesktopNotification &notification, bool replaced);
    void onClosed(uint id, uint reason);

    QDBusConnection m_client = QDBusConnection(QString());
    ComVornNotificationsControlInterface *m_control = nullptr;
    std::unique_ptr<BusMonitor> m_monitor;
    QString m_key;
    QHash<QString, uint> m_ids;               ///< of what has a key
    QHash<uint, DesktopNotification> m_shown; ///< on our server
};
