// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QSocketNotifier>

/// Reads lines as they come: from a file or a pipe, or typed at a terminal, where they can be edited and recalled.
/// There can be one.
class LineReader : public QObject
{
    Q_OBJECT

public:
    explicit LineReader(int descriptor);
    /// Leaves the terminal as it was.
    ~LineReader() override;

    bool isTyped() const { return m_isTyped; }

Q_SIGNALS:
    /// Nothing is read until whoever is connected has returned.
    void lineRead(const QByteArray &line);
    /// All is read, or cannot be for the reason `error`, a number of the system.
    void ended(int error);

private:
    void read();
    void next();

    QSocketNotifier m_notifier;
    bool m_isTyped;
    QByteArray m_buffer;
    int m_searched = 0; ///< so much of the buffer holds no end of a line
    int m_used = 0;     ///< so much of the buffer has been read out
    bool m_atEnd = false;
};
