// SPDX-License-Identifier: MIT
#include "standins/notifications/foreign.h"
#include "standins/notifications/include/notification.h"
#include "standins/notifications/notification_p.h"
#include "standins/notifications/notificationconnection.h"

#include <algorithm>

void NotificationConnection::onActionInvoked(uint id, const QString &key)
{
    Notification *const notification = m_live.value(id);
    if (!notification) {
        return;
    }
    if (m_capabilities.ours) {
        Q_EMIT notification->actionInvoked(key);
        return;
    }
    const QVector<Button> offered = buttons(notification->d->remoteActions, m_capabilities.inlineReply);
    const auto button =
        std::find_if(offered.cbegin(), offered.cend(), [&key](const Button &each) { return each.key == key; });
    // Some servers report a tap where none was offered.
    if (button != offered.cend() && key != inlineReplyKey()) {
        invoke(notification, button->action, button->answer);
    }
}

void NotificationConnection::onReplied(uint id, const QString &text)
{
    Notification *const notification = m_live.value(id);
    if (!notification || m_capabilities.ours) {
        return;
    }
    const QVector<Button> offered = buttons(notification->d->remoteActions, m_capabilities.inlineReply);
    for (const Button &button : offered) {
        if (button.key == inlineReplyKey()) {
            // A text is an answer even when it is empty; a null one would be left out.
            invoke(notification, button.action, text.isNull() ? QStringLiteral("") : text);
            return;
        }
    }
}

/// Does what our server does when the user invokes an action, and other servers know nothing of.
void NotificationConnection::invoke(Notification *notification, const QVariantMap &action, const QString &answer) const
{
    m_connection.send(remoteActionCall(action, answer.isNull() ? nullptr : &answer, m_connection));
    Q_EMIT notification->actionInvoked(action.value(QStringLiteral("name")).toString());
}
