// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/player.h"

#include <QtCore/QFile>
#include <QtCore/QSocketNotifier>

/// Plays a script line by line as it comes, to its end or to the first line that fails; a typing user may go on after
/// that.
class Session : public QObject
{
    Q_OBJECT

public:
    Session(const QFile &script, Player *player);

    /// Returns the exit status.
    int run();

    /// Stays at the end until all notifications are answered or gone, as far as there is a user.
    bool stays = false;
    /// After each event.
    int pauseMs = 0;

private:
    void read();
    void playNext();
    void end(int error);
    void quitIfDone();

    Player *m_player;
    QSocketNotifier m_notifier;
    QDir m_folder; ///< of the script; the current one for the standard input
    QString m_name;
    bool m_isTyped;
    bool m_hasEnded = false;
    QByteArray m_buffer;
    int m_line = 0;
};
