// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QMap>
#include <QtCore/QObject>

class ComVornNotificationsControlInterface;

/// Watches what our notification server shows, and plays the user there, over a connection of its own.
/// Without a connection there is nothing to watch, and the user is not to be played.
class Screen : public QObject
{
    Q_OBJECT

public:
    /// False when no server of ours is there.
    bool connectTo(const QString &address);
    /// Returns once all that the server sent before has arrived; false when it does not answer.
    bool roundTrip();

    /// The user does the `deed`, "invoke", "reply" or "dismiss", to the notification with this key. What is
    /// wrong; empty when nothing is. `action` is the name of one of its actions or the text on the button.
    QString act(const QString &deed, const QString &key, const QString &action, const QString &text) const;

Q_SIGNALS:
    void shown(const DesktopNotification &notification, bool replaced);
    void closed(const DesktopNotification &notification, uint reason);

private:
    ComVornNotificationsControlInterface *m_control = nullptr;
    QMap<uint, DesktopNotification> m_shown;
};
