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
    /// `client` names the connection over which the plug-in reaches its server.
    Player(lumd::Host *host, Screen *screen, Output *output, QString client);

    /// What is wrong with the event; empty when nothing is.
    QString play(const Event &event);
    /// Returns when all that follows from what was played has happened and is printed, timers aside. False
    /// when the server does not answer.
    bool settle();

private:
    lumd::Host *m_host;
    Screen *m_screen;
    Output *m_output;
    QString m_client;
    QTimer m_late; ///< for what happens by itself
    bool m_settling = false;
};
