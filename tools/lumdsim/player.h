// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/output.h"
#include "tools/lumdsim/screen.h"
#include "tools/lumdsim/script.h"

#include <QtCore/QTimer>

/// Plays the events of a script on the host and the screen, and has what follows from them printed.
class Player : public QObject
{
    Q_OBJECT

public:
    Player(lumd::Host *host, Screen *screen, Output *output);

    /// Plays the event, line `number` of the script, and settles. What is wrong with it; empty when nothing is.
    QString play(const Event &event, int number);
    /// Returns when all that follows from what was played has happened and is printed, timers aside.
    void settle();
    /// Whether the server has answered so far.
    bool isAnswered() const { return m_answered; }

Q_SIGNALS:
    void settled();

private:
    QString perform(const Event &event);

    lumd::Host *m_host;
    Screen *m_screen;
    Output *m_output;
    QTimer m_late; ///< for what happens by itself
    bool m_settling = false;
    bool m_answered = true;
};
