// SPDX-License-Identifier: MIT
#include "tools/lumdsim/screen.h"

#include "tools/harness/settle.h"

bool Screen::watch(const QDBusConnection &client, ServerThread *own, QString *error)
{
    m_client = client;
    m_own = own;
    if (own) {
        connect(own->server(), &Server::shown, this, &Screen::onShown);
        connect(own->server(), &Server::NotificationClosed, this, &Screen::onClosed);
    }
    const QDBusMessage answer = serverInformation(client);
    if (answer.type() != QDBusMessage::ReplyMessage) {
        *error = QStringLiteral("No notification server answers: ") + answer.errorMessage();
        return false;
    }
    return true;
}

bool Screen::settle() const { return ::settle(m_client); }

void Screen::onShown(const DesktopNotification &notification, bool replaced)
{
    const QString key = notification.hints.value(protocol::hint::originKey()).toString();
    if (!key.isEmpty()) {
        m_ids.insert(key, notification.id);
    }
    m_shown.insert(notification.id, notification);
    Q_EMIT shown(key, notification, replaced);
}

void Screen::onClosed(uint id, uint reason)
{
    if (!m_shown.contains(id)) {
        return; // shown before we watched
    }
    const DesktopNotification notification = m_shown.take(id);
    const QString key = notification.hints.value(protocol::hint::originKey()).toString();
    if (m_ids.value(key) == id) {
        m_ids.remove(key);
    }
    Q_EMIT closed(key, notification, reason);
}

bool Screen::act(const QString &verb, const QString &key, const QString &action, const QString &text,
                 QString *error) const
{
    if (!m_ids.contains(key)) {
        *error = QStringLiteral("no notification with the key \"%1\" is shown").arg(key);
        return false;
    }
    const uint id = m_ids.value(key);
    const QStringList actions = m_shown.value(id).actions;
    const int index = actions.indexOf(action); // of a name or its text, in turn
    const bool dismisses = verb == QLatin1String("dismiss");
    if (!dismisses && index < 0) {
        QStringList texts;
        for (int i = 1; i < actions.size(); i += 2) {
            texts.append(actions.at(i));
        }
        *error = QStringLiteral("the notification with the key \"%1\" has no action \"%2\"; it has: %3")
                     .arg(key, action, texts.isEmpty() ? QStringLiteral("none") : texts.join(QLatin1String(", ")));
        return false;
    }
    bool done = false;
    m_own->run([&](Server &server) {
        done = dismisses ? server.dismiss(id, error)
                         : server.invoke(id, actions.at(index - index % 2), error,
                                         verb == QLatin1String("reply") ? &text : nullptr);
    });
    return done;
}
