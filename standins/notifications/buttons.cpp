// SPDX-License-Identifier: MIT
#include "standins/notifications/buttons.h"

#include "standins/notifications/include/notification.h"
#include "standins/protocol/desktopnotification.h"

namespace
{

/// As many answers as fit on a pop-up.
constexpr int maximumChoices = 3;

QString text(const QVariantMap &action, const char *member) { return action.value(QLatin1String(member)).toString(); }

QVariantMap input(const QVariantMap &action) { return action.value(QStringLiteral("input")).toMap(); }

QVariantMap defaultAction(const QVariantList &remoteActions)
{
    for (const QVariant &description : remoteActions) {
        const QVariantMap action = description.toMap();
        if (text(action, "name") == QLatin1String("default") && !action.contains(QStringLiteral("input"))) {
            return action;
        }
    }
    return {};
}

} // namespace

QVector<Button> buttons(const QVariantList &remoteActions, bool inlineReply)
{
    const QVariantMap tap = defaultAction(remoteActions);
    QVector<Button> buttons;
    for (const QVariant &description : remoteActions) {
        const QVariantMap action = description.toMap();
        const QString name = text(action, "name");
        const bool isTap = name == QLatin1String("default");
        const QString label = text(action, "displayName");
        if (label.isEmpty()) {
            continue; // nobody could tell what it does
        }
        if (!action.contains(QStringLiteral("input"))) {
            if (!isTap) {
                buttons.append({name, label, action, {}});
            }
            continue;
        }
        const QStringList choices = input(action).value(QStringLiteral("choices")).toStringList();
        const int before = buttons.size();
        for (int i = 0; i < qMin(choices.size(), maximumChoices); ++i) {
            if (!choices.at(i).isEmpty()) {
                buttons.append({QStringLiteral("%1#%2").arg(name).arg(i), choices.at(i), action, choices.at(i)});
            }
        }
        if (inlineReply && input(action).value(QStringLiteral("freeInput")).toBool()) {
            buttons.append({inlineReplyKey(), label, action, {}});
            inlineReply = false;
        } else if (buttons.size() == before && !tap.isEmpty()) {
            buttons.append({name, label, tap, {}});
        }
    }
    if (!tap.isEmpty()) { // some servers draw a button for it too, and one not for what follows it
        buttons.append({text(tap, "name"), QStringLiteral("Open"), tap, {}});
    }
    return buttons;
}

bool invokeForeign(Notification *notification, const QDBusMessage &signal, const Capabilities &server,
                   const QDBusConnection &connection)
{
    const QString argument = signal.arguments().value(1).toString();
    const bool typed = signal.member() == QLatin1String("NotificationReplied");
    if (!typed && (signal.member() != QLatin1String("ActionInvoked") || argument == inlineReplyKey())) {
        return false;
    }
    for (const Button &button : buttons(notification->remoteActions(), server.contains(inlineReplyKey()))) {
        if (button.key == (typed ? inlineReplyKey() : argument)) {
            const QString answer = typed ? argument : button.answer;
            connection.send(
                remoteActionCall(button.action, typed || !answer.isEmpty() ? &answer : nullptr, connection));
            Q_EMIT notification->actionInvoked(text(button.action, "name"));
            return true;
        }
    }
    return false;
}
