// SPDX-License-Identifier: MIT
#include "standins/server/server.h"

#include <QtDBus/QDBusError>

namespace hint = protocol::hint;

namespace
{

/// The description of the D-Bus call that goes with an action; empty when there is none.
QVariantMap remoteAction(const DesktopNotification &notification, const QString &action)
{
    const QVariantList descriptions = notification.hints.value(hint::remoteActions()).toList();
    for (const QVariant &description : descriptions) {
        const QVariantMap map = description.toMap();
        if (map.value(QStringLiteral("name")).toString() == action) {
            return map;
        }
    }
    return {};
}

bool hasAction(const DesktopNotification &notification, const QString &action)
{
    for (int i = 0; i < notification.actions.size(); i += 2) {
        if (notification.actions.at(i) == action) {
            return true;
        }
    }
    return false;
}

/// Why an action that takes `input` cannot be invoked with `answer`; empty when it can. Null stands for no
/// input, and for no answer.
QString objection(const QVariantMap &action, const QString *answer)
{
    if (!action.contains(QStringLiteral("input"))) {
        return answer ? QStringLiteral("The action takes no text") : QString();
    }
    if (!answer) {
        return QStringLiteral("The action takes text from the user: use Reply");
    }
    const QVariantMap input = action.value(QStringLiteral("input")).toMap();
    const QStringList choices = input.value(QStringLiteral("choices")).toStringList();
    if (!input.value(QStringLiteral("freeInput")).toBool() && !choices.contains(*answer)) {
        return QStringLiteral("The answer must be one of: ") + choices.join(QStringLiteral(", "));
    }
    return {};
}

} // namespace

void Server::refuse(const QString &message) const
{
    if (calledFromDBus()) {
        sendErrorReply(QDBusError::InvalidArgs, message);
    }
}

void Server::Invoke(uint id, const QString &action) { invoke(id, action, nullptr); }

void Server::Reply(uint id, const QString &action, const QString &text) { invoke(id, action, &text); }

void Server::invoke(uint id, const QString &action, const QString *answer)
{
    const Entry entry = m_entries.value(id);
    if (!hasAction(entry.notification, action)) {
        refuse(QStringLiteral("Notification %1 has no action \"%2\"").arg(id).arg(action));
        return;
    }
    const QVariantMap remote = remoteAction(entry.notification, action);
    const QString problem = objection(remote, answer);
    if (!problem.isEmpty()) {
        refuse(problem);
        return;
    }
    Q_EMIT ActionInvoked(id, action);
    if (!remote.isEmpty() && !entry.connection.isEmpty()) {
        const QDBusConnection publisher(entry.connection);
        publisher.send(remoteActionCall(remote, answer, publisher));
    }
    if (!entry.notification.hints.value(hint::resident()).toBool()) {
        close(id, Dismissed);
    }
}

void Server::Dismiss(uint id)
{
    if (!m_entries.contains(id)) {
        refuse(QStringLiteral("There is no notification %1").arg(id));
        return;
    }
    const QVariant removable = m_entries.value(id).notification.hints.value(hint::userRemovable());
    if (removable.isValid() && !removable.toBool()) {
        refuse(QStringLiteral("Notification %1 can't be dismissed").arg(id));
        return;
    }
    close(id, Dismissed);
}
