// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QSocketNotifier>

/// Reads lines as they come, from a file, a pipe or a terminal.
class Input : public QObject
{
    Q_OBJECT

public:
    explicit Input(int descriptor);
    /// Before the next line.
    void setPause(int milliseconds) { m_pause = milliseconds; }

Q_SIGNALS:
    void lineRead(const QByteArray &line);
    /// All is read, or cannot be for the reason `error`, a number of the system.
    void ended(int error);

private:
    void read();
    void next();

    QSocketNotifier m_notifier;
    QByteArray m_buffer;
    int m_pause = 0;
    int m_searched = 0; ///< so much of the buffer holds no end of a line
};
