// SPDX-License-Identifier: MIT
#include "tools/lumdsim/input.h"

#include <QtCore/QTimer>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <editline/readline.h>
#include <unistd.h>

static Input *input = nullptr;

static void onTyped(char *line)
{
    input->take(line);
    std::free(line); // NOLINT: the library gives it away
}

Input::Input(int descriptor)
    : m_notifier(descriptor, QSocketNotifier::Read)
    , m_typed(isatty(descriptor) == 1)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &Input::read);
    if (m_typed) {
        input = this;
        rl_outstream = stderr; // the standard output is for what happens
        rl_callback_handler_install("", onTyped);
    }
}

Input::~Input()
{
    if (m_typed) {
        rl_callback_handler_remove();
    }
}

void Input::read()
{
    if (m_typed) {
        rl_callback_read_char();
        return;
    }
    m_notifier.setEnabled(false); // `wait` runs an event loop
    std::array<char, 65536> bytes = {};
    const ssize_t count = ::read(static_cast<int>(m_notifier.socket()), bytes.data(), bytes.size());
    if (count <= 0 && m_buffer.isEmpty()) {
        Q_EMIT ended(count < 0 ? errno : 0);
        return;
    }
    count > 0 ? m_buffer.append(bytes.data(), static_cast<int>(count)) : m_buffer.append('\n');
    next();
}

void Input::take(const char *line)
{
    m_notifier.setEnabled(false);
    if (!line) {
        Q_EMIT ended(0);
        return;
    }
    rl_callback_handler_install("", onTyped); // each line ends the editing
    add_history(line);
    Q_EMIT lineRead(line);
    m_notifier.setEnabled(true);
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
    QTimer::singleShot(0, this, &Input::next); // lets signals be handled between lines
}
