// SPDX-License-Identifier: MIT
#include "tools/lumdsim/screen.h"

#include "controlinterface.h"

#include <algorithm>

using Control = ComVornNotificationsControlInterface;

bool Screen::connectTo(const QString &address)
{
    registerDesktopNotificationTypes();
    const QDBusConnection connection = QDBusConnection::connectToPeer(address, QStringLiteral("lumdsim-control"));
    m_control = new Control(QString(), protocol::objectPath(), connection, this);
    m_control->setTimeout(5000);
    connect(m_control, &Control::Shown, this, [this](const DesktopNotification &notification, bool replaced) {
        m_shown.insert(notification.id, notification);
        Q_EMIT shown(notification, replaced);
    });
    connect(m_control, &Control::Closed, this,
            [this](uint id, uint reason) { Q_EMIT closed(m_shown.take(id), reason); });
    return roundTrip();
}

bool Screen::roundTrip()
{
    if (!m_control) {
        return true;
    }
    QDBusPendingReply<DesktopNotificationList> reply = m_control->List();
    reply.waitForFinished();
    const DesktopNotificationList list = reply.value();
    for (const DesktopNotification &notification : list) {
        m_shown.insert(notification.id, notification);
    }
    return !reply.isError();
}

QString Screen::act(const QString &deed, const QString &key, const QString &action, const QString &text) const
{
    const auto found = std::find_if(m_shown.cbegin(), m_shown.cend(), [&key](const DesktopNotification &shown) {
        return shown.hints.value(protocol::hint::originKey()) == key;
    });
    if (!m_control || found == m_shown.cend()) {
        return m_control ? QStringLiteral("no notification with the key \"%1\" is shown").arg(key)
                         : QStringLiteral("only the kavrel server can be operated");
    }
    const int index = found->actions.indexOf(action); // of a name or its text, in turn
    const QString name = index < 0 ? action : found->actions.at(index - index % 2);
    QDBusPendingReply<> reply = deed == QLatin1String("reply")     ? m_control->Reply(found->id, name, text)
                                : deed == QLatin1String("dismiss") ? m_control->Dismiss(found->id)
                                                                   : m_control->Invoke(found->id, name);
    reply.waitForFinished();
    return reply.isError() ? reply.error().message() : QString();
}
