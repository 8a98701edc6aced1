// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/screen.h"
#include "tools/lumdsim/script.h"

#include <QtCore/QSet>
#include <QtCore/QTimer>

/// Plays the events of a script on the host and the screen, and has their effects printed. One in a process.
class Player : public QObject
{
    Q_OBJECT

public:
    /// `screen` is null for a desktop.
    Player(lumd::Host *host, Screen *screen, Output *output);

    /// Plays the event, line `number` of the script, and settles. False when the event or the server fails.
    bool play(const Event &event, int number, QString *error);
    /// Returns when all effects of the script have happened and are printed, timers aside.
    void settle();
    /// The server has called a method of the host.
    void called(const QDBusMessage &call);

    /// Whether there is no user but the script.
    bool playsUser() const { return m_screen != nullptr; }
    /// Whether the server has answered so far.
    bool isAnswered() const { return m_answered; }
    /// The keys of the notifications that the user has neither answered nor dismissed, and the host has not removed.
    const QSet<QString> &openKeys() const { return m_open; }

Q_SIGNALS:
    void settled();

private:
    bool perform(const Event &event, QString *error);

    lumd::Host *m_host;
    Screen *m_screen;
    Output *m_output;
    QString m_key; ///< of the event that is played
    QSet<QString> m_open;
    QTimer m_late; ///< for effects that no line has caused
    bool m_settling = false;
    bool m_answered = true;
};
