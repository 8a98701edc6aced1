// SPDX-License-Identifier: MIT
#include "tools/lumdsim/session.h"

#include "standins/terminal/signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <array>
#include <cerrno>
#include <csignal>
#include <unistd.h>

Session::Session(const QFile &script, Player *player)
    : m_player(player)
    , m_notifier(script.handle(), QSocketNotifier::Read)
    , m_folder(QFileInfo(script).dir())
    , m_name(script.fileName().isEmpty() ? "standard input" : script.fileName())
    , m_isTyped(isatty(script.handle()) == 1)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &Session::read);
    connect(player, &Player::settled, this, &Session::quitIfDone);
}

int Session::run()
{
    if (m_isTyped) {
        say(Good, QString("Type one event a line, such as %1; Ctrl-D ends.").arg(exampleEvent));
    }
    const QSocketNotifier readerGone(STDOUT_FILENO, QSocketNotifier::Exception);
    connect(&readerGone, &QSocketNotifier::activated, [] { QCoreApplication::exit(NoEnvironment); });
    const int status = QCoreApplication::exec();
    if (lastSignal() == SIGINT && isatty(STDERR_FILENO) == 1) {
        say(Good, {}); // the terminal has echoed ^C
    }
    return lastSignal() != 0 ? Interrupted + lastSignal() : status; // the input may have ended as well
}

void Session::read()
{
    m_notifier.setEnabled(false); // until the lines are played
    std::array<char, 65536> bytes = {};
    const ssize_t count = ::read(static_cast<int>(m_notifier.socket()), bytes.data(), bytes.size());
    if (count > 0) {
        m_buffer.append(bytes.data(), static_cast<int>(count));
    } else if (m_buffer.isEmpty()) {
        end(count < 0 ? errno : 0);
        return;
    } else {
        m_buffer.append('\n'); // the line is unfinished
        if (m_isTyped) {
            say(Good, {});
        }
    }
    playNext();
}

void Session::playNext()
{
    const int length = m_buffer.indexOf('\n');
    if (length < 0) {
        m_notifier.setEnabled(true);
        return;
    }
    const QByteArray line = m_buffer.left(length);
    m_buffer.remove(0, length + 1);
    ++m_line;
    Event event;
    QString error;
    const bool played = readEvent(line, m_folder, &event, &error) && m_player->play(event, m_line, &error);
    // Even without a pause, signals are handled between lines.
    QTimer::singleShot(event.verb ? pauseMs : 0, this, &Session::playNext);
    if (lastSignal() != 0) {
        return; // it may have ended the server, too
    }
    if (!played) {
        say(BadInput, QString("%1:%2: %3").arg(m_name).arg(m_line).arg(error));
    }
    if (!m_player->isAnswered() || std::ferror(stdout) != 0) {
        QCoreApplication::exit(NoEnvironment);
    } else if (!played && !m_isTyped) {
        QCoreApplication::exit(BadInput);
    }
}

void Session::end(int error)
{
    if (error != 0) {
        QCoreApplication::exit(say(BadInput, m_name + ": " + qt_error_string(error)));
        return;
    }
    m_hasEnded = true;
    const QStringList open = m_player->openKeys().values();
    if (stays && m_player->playsUser() && !open.isEmpty()) {
        say(Good, QString("Nobody can answer %1: only with --desktop is there a user.").arg(open.join(", ")));
    }
    quitIfDone();
}

void Session::quitIfDone()
{
    const bool waits = stays && !m_player->playsUser() && !m_player->openKeys().isEmpty();
    if (std::ferror(stdout) != 0) {
        QCoreApplication::exit(NoEnvironment);
    } else if (m_hasEnded && !waits) {
        QCoreApplication::quit();
    }
}
