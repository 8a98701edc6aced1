// SPDX-License-Identifier: MIT
#include "tools/lumdsim/input.h"

#include <QtCore/QTimer>

#include <array>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

Input::Input(int descriptor)
    : m_notifier(descriptor, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &Input::read);
}

void Input::read()
{
    m_notifier.setEnabled(false); // `wait` runs an event loop
    std::array<char, 65536> bytes = {};
    const ssize_t count = ::read(static_cast<int>(m_notifier.socket()), bytes.data(), bytes.size());
    if (count <= 0 && m_buffer.isEmpty()) {
        Q_EMIT ended(count < 0 ? errno : 0);
        return;
    }
    if (count > 0) {
        m_buffer.append(bytes.data(), static_cast<int>(count));
    } else {
        m_buffer.append('\n'); // the line is unfinished
        if (isatty(static_cast<int>(m_notifier.socket())) == 1) {
            std::fputc('\n', stderr);
        }
    }
    next();
}

void Input::next()
{
    const int end = m_buffer.indexOf('\n', m_searched);
    if (end < 0) {
        m_searched = m_buffer.size();
        m_notifier.setEnabled(true);
        return;
    }
    const QByteArray line = m_buffer.left(end);
    m_buffer.remove(0, end + 1);
    m_searched = 0;
    Q_EMIT lineRead(line);
    QTimer::singleShot(m_pause, this, &Input::next); // even without a pause, signals are handled between lines
}
