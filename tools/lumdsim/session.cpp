// SPDX-License-Identifier: MIT
#include "tools/lumdsim/session.h"

#include "standins/terminal/signals.h"
#include "tools/lumdsim/status.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <csignal>
#include <unistd.h>

Session::Session(const QFile &script, const Screen *screen, Player *player)
    : m_screen(screen)
    , m_player(player)
    , m_input(script.handle())
    , m_folder(QFileInfo(script).dir())
    , m_name(script.fileName().isEmpty() ? QStringLiteral("standard input") : script.fileName())
    , m_typed(isatty(script.handle()) == 1)
{
    connect(&m_input, &Input::lineRead, this, &Session::play);
    connect(&m_input, &Input::ended, this, &Session::endInput);
    connect(player, &Player::settled, this, &Session::quitIfDone);
}

int Session::run()
{
    if (m_typed) {
        say(Good,
            QStringLiteral("Type one event a line, such as ") + exampleEvent() + QStringLiteral("; Ctrl-D ends."));
    }
    const QSocketNotifier readerGone(STDOUT_FILENO, QSocketNotifier::Exception);
    connect(&readerGone, &QSocketNotifier::activated, [] { QCoreApplication::exit(NoEnvironment); });
    const int status = QCoreApplication::exec();
    if (lastSignal() == SIGINT && isatty(STDERR_FILENO) == 1) {
        say(Good, {}); // the terminal has echoed ^C
    }
    return lastSignal() != 0 ? Interrupted + lastSignal() : status; // the input may have ended as well
}

void Session::play(const QByteArray &line)
{
    Event event;
    QString error;
    ++m_line;
    const bool played = readEvent(line, m_folder, &event, &error) && m_player->play(event, m_line, &error);
    m_input.setPause(event.verb ? m_paceMs : 0);
    if (lastSignal() != 0) {
        return; // it may have ended the server, too
    }
    if (!played) {
        say(BadInput, QStringLiteral("%1:%2: %3").arg(m_name).arg(m_line).arg(error));
    }
    if (!m_player->isAnswered() || std::ferror(stdout) != 0) {
        QCoreApplication::exit(NoEnvironment);
    } else if (!played && !m_typed) {
        QCoreApplication::exit(BadInput);
    }
}

void Session::endInput(int error)
{
    m_ended = true;
    const QStringList open = m_player->openKeys().values();
    if (error != 0) {
        QCoreApplication::exit(say(BadInput, m_name + QStringLiteral(": ") + qt_error_string(error)));
        return;
    }
    if (m_wait && m_screen->isOurs() && !open.isEmpty()) {
        say(Good, QStringLiteral("Nobody can answer %1: only with --desktop is there a user.")
                      .arg(open.join(QLatin1String(", "))));
    }
    quitIfDone();
}

void Session::quitIfDone()
{
    const bool waits = m_wait && !m_screen->isOurs() && !m_player->openKeys().isEmpty();
    if (std::ferror(stdout) != 0) {
        QCoreApplication::exit(NoEnvironment);
    } else if (m_ended && !waits) {
        QCoreApplication::quit();
    }
}
