// SPDX-License-Identifier: MIT
#pragma once

#include "tools/harness/serverthread.h"

#include <QtCore/QHash>

/// Reports the notifications on the screen of our own server, and plays its user. Of other servers it knows nothing.
class Screen : public QObject
{
    Q_OBJECT

public:
    /// Watches the server that is called over `client`, a bus or a peer: `own`, unless that is null.
    bool watch(const QDBusConnection &client, ServerThread *own, QString *error);
    /// Returns once all has arrived that the server was sent or has sent before; false when it does not answer.
    bool settle() const;

    /// Whether the server is our own.
    bool isOurs() const { return m_own != nullptr; }
    /// The user answers the notification with this key, by the verb "invoke", "reply" or "dismiss". `action` is the
    /// name of one of its actions or the text on the button.
    bool act(const QString &verb, const QString &key, const QString &action, const QString &text, QString *error) const;

Q_SIGNALS:
    void shown(const QString &key, const DesktopNotification &notification, bool replaced);
    void closed(const QString &key, const DesktopNotification &notification, uint reason);

private:
    void onShown(const DesktopNotification &notification, bool replaced);
    void onClosed(uint id, uint reason);

    QDBusConnection m_client = QDBusConnection(QString());
    ServerThread *m_own = nullptr;
    QHash<QString, uint> m_ids; ///< of the notifications that have a key
    QHash<uint, DesktopNotification> m_shown;
};
