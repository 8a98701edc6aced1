// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QSocketNotifier>

/// Reads lines as they come: from a file or a pipe, or typed at a terminal, where they can be edited and recalled.
/// There can be one.
class Input : public QObject
{
    Q_OBJECT

public:
    explicit Input(int descriptor);
    /// Leaves the terminal as it was.
    ~Input() override;

    /// Takes over what was typed; null at the end. For the library that edits lines.
    void take(const char *line);

Q_SIGNALS:
    void lineRead(const QByteArray &line);
    /// All is read, or cannot be for the reason `error`, a number of the system.
    void ended(int error);

private:
    void read();
    void next();

    QSocketNotifier m_notifier;
    const bool m_typed;
    QByteArray m_buffer;
    int m_searched = 0; ///< so much of the buffer holds no end of a line
};
