// SPDX-License-Identifier: MIT
#include "standins/notifications/buttons.h"

#include <algorithm>

namespace
{

/// As many answers as fit on a pop-up.
constexpr int maximumChoices = 3;

} // namespace

QVector<Button> buttons(const QVariantList &remoteActions, const Capabilities &server)
{
    QVector<Button> buttons;
    if (server.isOurs() || !server.contains("actions")) {
        return buttons;
    }
    RemoteAction tap;
    QVector<RemoteAction> others;
    for (const QVariant &description : remoteActions) {
        const auto action = description.value<RemoteAction>();
        if (action.name != QLatin1String("default") || action.takesText) {
            others.append(action);
        } else if (tap.name.isEmpty()) {
            tap = action;
        }
    }
    bool inlineReply = server.contains(inlineReplyKey());
    for (const RemoteAction &action : qAsConst(others)) {
        const QString &name = action.name;
        const QString &label = action.displayName;
        if (label.isEmpty()) {
            continue; // nobody could tell its purpose
        }
        const int before = buttons.size();
        for (int i = 0; i < qMin(action.choices.size(), maximumChoices); ++i) {
            const QString &choice = action.choices.at(i);
            if (!choice.isEmpty()) {
                buttons.append({QStringLiteral("%1#%2").arg(name).arg(i), choice, action, choice});
            }
        }
        if (!action.takesText) {
            buttons.append({name, label, action, {}});
        } else if (inlineReply && action.freeInput) {
            buttons.append({inlineReplyKey(), label, action, {}});
            inlineReply = false;
        } else if (buttons.size() == before && !tap.name.isEmpty()) {
            buttons.append({name, label, tap, {}});
        }
    }
    if (!tap.name.isEmpty()) { // last: one server ignores the actions after it
        buttons.append({tap.name, QStringLiteral("Open"), tap, {}});
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
