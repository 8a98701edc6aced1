// SPDX-License-Identifier: MIT
#include "tools/lumdsim/screen.h"

#include "controlinterface.h"
#include "tools/harness/settle.h"
#include "tools/lumdsim/busmonitor.h"

#include <QtCore/QDebug>

#include <utility>

using Control = ComVornNotificationsControlInterface;

QString Screen::watch(const QDBusConnection &client)
{
    m_client = client;
    const bool onBus = !client.baseService().isEmpty();
    const QString service = onBus ? protocol::service() : QString();
    const QDBusMessage question = QDBusMessage::createMethodCall(service, protocol::objectPath(), protocol::service(),
                                                                 QStringLiteral("GetServerInformation"));
    const QDBusMessage answer = m_client.call(question, QDBus::Block, 5000);
    if (answer.type() != QDBusMessage::ReplyMessage) {
        return QStringLiteral("No notification server answers: ") + answer.errorMessage();
    }
    if (answer.arguments().value(0) == QLatin1String("kavrel-notification-server")) {
        m_control = new Control(service, protocol::objectPath(), client, this);
        m_control->setTimeout(5000);
    }
    if (onBus) {
        m_monitor = new BusMonitor(client, this);
        connect(m_monitor, &BusMonitor::shown, this, &Screen::onShown);
        connect(m_monitor, &BusMonitor::closed, this, &Screen::onClosed);
        const QString refusal = m_monitor->start();
        if (!refusal.isEmpty()) {
            qWarning().noquote() << "What is shown will not be told, as the bus does not allow watching it:" << refusal;
            delete std::exchange(m_monitor, nullptr);
        }
    } else if (m_control) {
        registerDesktopNotificationTypes();
        connect(m_control, &Control::Shown, this, &Screen::onShown);
        connect(m_control, &Control::Closed, this, &Screen::onClosed);
    }
    return {};
}

bool Screen::settle() { return ::settle(m_client) && (!m_monitor || m_monitor->settle()); }

void Screen::onShown(const DesktopNotification &notification, bool replaced)
{
    const QString key = notification.hints.value(protocol::hint::originKey(), m_key).toString();
    m_shown.insert(notification.id, {key, notification});
    if (!key.isEmpty()) {
        m_ids.insert(key, notification.id);
    }
    Q_EMIT shown(key, notification, replaced);
}

void Screen::onClosed(uint id, uint reason)
{
    if (!m_shown.contains(id)) {
        return; // another program's, or from before
    }
    const auto [key, notification] = m_shown.take(id);
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
    const QStringList actions = m_shown.value(id).notification.actions;
    const int index = actions.indexOf(action); // of a name or its text, in turn
    const QString name = index < 0 ? action : actions.at(index - index % 2);
    QDBusPendingReply<> reply = deed == QLatin1String("reply")     ? m_control->Reply(id, name, text)
                                : deed == QLatin1String("dismiss") ? m_control->Dismiss(id)
                                                                   : m_control->Invoke(id, name);
    reply.waitForFinished();
    return reply.isError() ? reply.error().message() : QString();
}
