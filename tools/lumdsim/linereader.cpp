// SPDX-License-Identifier: MIT
#include "tools/lumdsim/linereader.h"

#include <QtCore/QTimer>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <editline/readline.h>
#include <unistd.h>

static LineReader *reader = nullptr;

static void onTyped(char *line)
{
    if (!line) {
        Q_EMIT reader->ended(0);
        return;
    }
    add_history(line);
    Q_EMIT reader->lineRead(line);
    std::free(line); // NOLINT: the library gives it away
}

LineReader::LineReader(int descriptor, bool typed)
    : m_notifier(descriptor, QSocketNotifier::Read)
    , m_typed(typed)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &LineReader::read);
    if (m_typed) {
        reader = this;
        rl_outstream = stderr; // the standard output is for what happens
        rl_callback_handler_install("> ", onTyped);
    }
}

LineReader::~LineReader()
{
    if (m_typed) {
        rl_callback_handler_remove();
    }
}

void LineReader::read()
{
    m_notifier.setEnabled(false);
    if (m_typed) {
        rl_callback_read_char();
        m_notifier.setEnabled(true);
        return;
    }
    std::array<char, 65536> bytes = {};
    const ssize_t count = ::read(static_cast<int>(m_notifier.socket()), bytes.data(), bytes.size());
    if (count < 0 && errno != EAGAIN && errno != EINTR) {
        Q_EMIT ended(errno);
        return;
    }
    m_buffer.append(bytes.data(), static_cast<int>(qMax<ssize_t>(count, 0)));
    m_atEnd = count == 0;
    next();
}

void LineReader::next()
{
    int end = m_buffer.indexOf('\n', m_searched);
    if (end < 0 && m_atEnd && m_used < m_buffer.size()) {
        end = m_buffer.size();
    }
    if (end >= 0) {
        const QByteArray line = m_buffer.mid(m_used, end - m_used);
        m_searched = m_used = qMin(end + 1, m_buffer.size());
        Q_EMIT lineRead(line);
        QTimer::singleShot(0, this, &LineReader::next); // after signals and timers
    } else if (m_atEnd) {
        Q_EMIT ended(0);
    } else {
        m_buffer.remove(0, m_used);
        m_searched = m_buffer.size();
        m_used = 0;
        m_notifier.setEnabled(true);
    }
}
