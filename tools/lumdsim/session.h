// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/commandline.h"
#include "tools/lumdsim/input.h"
#include "tools/lumdsim/player.h"

#include <QtCore/QFile>

/// Plays a script line by line, to its end or to the first line that fails; a typing user may go on after that.
class Session : public QObject
{
    Q_OBJECT

public:
    Session(const Options &options, const QFile &script, const Screen *screen, Player *player);

    /// Returns the exit status.
    int run();

private:
    void play(const QByteArray &line);
    void endInput(int error);
    void quitIfDone();

    const Options &m_options;
    const Screen *m_screen;
    Player *m_player;
    Input m_input;
    QDir m_folder; ///< of the script; the current one for the standard input
    QString m_name;
    bool m_typed;
    bool m_ended = false;
    int m_line = 0;
};
