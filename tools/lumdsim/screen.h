// SPDX-License-Identifier: MIT
#pragma once

#include "tools/harness/serverthread.h"
#include "tools/lumdsim/output.h"

/// A screen of our own: reports the notifications on its server, and plays its user.
class Screen : public QObject
{
    Q_OBJECT

public:
    explicit Screen(Output *output);

    /// The user answers the notification with this key, by the verb "invoke", "reply" or "dismiss". `action` is the
    /// name of one of its actions or the text on the button.
    bool act(const QString &verb, const QString &key, const QString &action, const QString &text, QString *error);

    ServerThread server;

private:
    QMap<uint, DesktopNotification> m_shown;
};
