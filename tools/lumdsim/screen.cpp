// SPDX-License-Identifier: MIT
#include "tools/lumdsim/screen.h"

#include <algorithm>

Screen::Screen(Output *output)
{
    connect(server.server(), &Server::shown, this,
            [this, output](const DesktopNotification &notification, bool replaced) {
                m_shown.insert(notification.id, notification);
                output->shown(notification, replaced);
            });
    connect(server.server(), &Server::NotificationClosed, this,
            [this, output](uint id, uint reason) { output->closed(m_shown.take(id), reason); });
}

bool Screen::act(const QString &verb, const QString &key, const QString &action, const QString &text, QString *error)
{
    const auto shown = std::find_if(m_shown.begin(), m_shown.end(),
                                    [&](const DesktopNotification &candidate) { return candidate.key() == key; });
    if (shown == m_shown.end()) {
        *error = QString("no notification with the key \"%1\" is shown").arg(key);
        return false;
    }
    const QStringList &actions = shown->actions;
    const int index = actions.indexOf(action); // of a name or its text, in turn
    const bool dismisses = verb == "dismiss";
    if (!dismisses && index < 0) {
        QStringList texts;
        for (int i = 1; i < actions.size(); i += 2) {
            texts.append(actions.at(i));
        }
        *error = QString(R"(the notification with the key "%1" has no action "%2"; it has: %3)")
                     .arg(key, action, texts.isEmpty() ? "none" : texts.join(", "));
        return false;
    }
    bool done = false;
    server.run([&](Server &own) {
        done = dismisses
                   ? own.dismiss(shown->id, error)
                   : own.invoke(shown->id, actions.at(index - index % 2), error, verb == "reply" ? &text : nullptr);
    });
    return done;
}
