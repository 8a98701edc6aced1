// SPDX-License-Identifier: MIT
#include "standins/notifications/buttons.h"

#include <algorithm>

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

QVector<Button> buttons(const QVariantList &remoteActions, const Capabilities &server)
{
    QVector<Button> buttons;
    if (server.isOurs() || !server.contains("actions")) {
        return buttons;
    }
    bool inlineReply = server.contains(inlineReplyKey());
    const QVariantMap tap = defaultAction(remoteActions);
    for (const QVariant &description : remoteActions) {
        const QVariantMap action = description.toMap();
        const QString name = text(action, "name");
        const QString label = text(action, "displayName");
        if (label.isEmpty()) {
            continue; // nobody could tell its purpose
        }
        if (!action.contains(QStringLiteral("input"))) {
            if (name != QLatin1String("default")) {
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
    if (!tap.isEmpty()) { // last: one server ignores the actions after it
        buttons.append({text(tap, "name"), QStringLiteral("Open"), tap, {}});
    }
    return buttons;
}

const Button *pressed(const QVector<Button> &buttons, const QString &signal, const QString &argument)
{
    const bool typed = signal == QLatin1String("NotificationReplied");
    if (!typed && (signal != QLatin1String("ActionInvoked") || argument == inlineReplyKey())) {
        return nullptr;
    }
    const auto button = std::find_if(buttons.begin(), buttons.end(), [&](const Button &any) {
        return any.key == (typed ? inlineReplyKey() : argument);
    });
    return button != buttons.end() ? button : nullptr;
}
