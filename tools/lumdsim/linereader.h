// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QSocketNotifier>

/// Reads lines as they come: from a file or a pipe, or typed at a terminal, where they can be edited and recalled.
/// There can be one.
class LineReader : public QObject
{
    Q_OBJECT

public:
    /// `typed` tells whether the descriptor is a terminal's.
    LineReader(int descriptor, bool typed);
    /// Leaves the terminal as it was.
    ~LineReader() override;

Q_SIGNALS:
    /// Nothing is read until whoever is connected has returned.
    void lineRead(const QByteArray &line);
    /// All is read, or cannot be for the reason `error`, a number of the system.
    void ended(int error);

private:
    void read();
    void next();

    QSocketNotifier m_notifier;
    bool m_typed;
    QByteArray m_buffer;
    int m_searched = 0; ///< so much of the buffer holds no end of a line
    int m_used = 0;     ///< so much of the buffer has been read out
    bool m_atEnd = false;
};
