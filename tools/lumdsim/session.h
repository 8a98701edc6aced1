// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/input.h"
#include "tools/lumdsim/player.h"

#include <QtCore/QFile>

/// Plays a script line by line, to its end or to the first line that fails; a typing user may go on after that.
class Session : public QObject
{
    Q_OBJECT

public:
    Session(const QFile &script, const Screen *screen, Player *player);
    /// Stays at the end until all notifications are answered or gone, as far as there is a user.
    void setWait(bool wait) { m_wait = wait; }
    /// Pauses after each event.
    void setPace(int milliseconds) { m_paceMs = milliseconds; }

    /// Returns the exit status.
    int run();

private:
    void play(const QByteArray &line);
    void endInput(int error);
    void quitIfDone();

    const Screen *m_screen;
    Player *m_player;
    Input m_input;
    QDir m_folder; ///< of the script; the current one for the standard input
    QString m_name;
    bool m_typed;
    bool m_wait = false;
    int m_paceMs = 0;
    bool m_ended = false;
    int m_line = 0;
};
