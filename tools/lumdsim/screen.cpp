// SPDX-License-Identifier: MIT
#include "tools/lumdsim/screen.h"

#include "controlinterface.h"
#include "tools/harness/settle.h"

using Control = ComVornNotificationsControlInterface;

QString Screen::watch(const QDBusConnection &client)
{
    m_client = client;
    const QString service = client.baseService().isEmpty() ? QString() : protocol::service();
    const QDBusMessage answer = serverInformation(client);
    if (answer.type() != QDBusMessage::ReplyMessage) {
        return QStringLiteral("No notification server answers: ") + answer.errorMessage();
    }
    if (service.isEmpty() || answer.arguments().value(0) == QLatin1String("kavrel-notification-server")) {
        registerDesktopNotificationTypes();
        m_control = new Control(service, protocol::objectPath(), client, this);
        m_control->setTimeout(5000);
        connect(m_control, &Control::Shown, this, &Screen::onShown);
        connect(m_control, &Control::Closed, this, &Screen::onClosed);
    }
    return {};
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

QString Screen::act(const QString &deed, const QString &key, const QString &action, const QString &text) const
{
    if (!m_ids.contains(key)) {
        return QStringLiteral("no notification with the key \"%1\" is shown").arg(key);
    }
    const uint id = m_ids.value(key);
    const QStringList actions = m_shown.value(id).actions;
    const int index = actions.indexOf(action); // of a name or its text, in turn
    const QString name = index < 0 ? action : actions.at(index - index % 2);
    QDBusPendingReply<> reply = deed == QLatin1String("reply")     ? m_control->Reply(id, name, text)
                                : deed == QLatin1String("dismiss") ? m_control->Dismiss(id)
                                                                   : m_control->Invoke(id, name);
    reply.waitForFinished();
    return reply.isError() ? reply.error().message() : QString();
}
