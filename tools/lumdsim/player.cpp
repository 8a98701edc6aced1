// SPDX-License-Identifier: MIT
#include "tools/lumdsim/player.h"

#include <QtCore/QEventLoop>
#include <QtCore/QScopedValueRollback>

#include <limits>

static void wait(qint64 milliseconds)
{
    QEventLoop loop;
    const qint64 time = qBound<qint64>(0, milliseconds, std::numeric_limits<int>::max());
    QTimer::singleShot(static_cast<int>(time), Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

Player::Player(lumd::Host *host, Screen *screen, Output *output)
    : m_host(host)
    , m_screen(screen)
    , m_output(output)
{
    connect(screen, &Screen::shown, this, [output](auto &&...report) { output->shown(report...); });
    connect(screen, &Screen::closed, this, [output](auto &&...report) { output->closed(report...); });
    host->onAction = [output](const std::string &key, lu_field *action) {
        const auto text = [action](uint32_t id) { return QString::fromUtf8(lu_field_get_str(action, id)); };
        output->action(QString::fromStdString(key), text(field::action::title), text(field::action::identifier));
    };
    host->onRemoved = [output, screen](const std::string &key) {
        screen->forget(QString::fromStdString(key));
        output->removed(QString::fromStdString(key));
    };

    m_late.setSingleShot(true);
    connect(&m_late, &QTimer::timeout, this, &Player::settle);
    output->onReport = [this] {
        if (!m_settling) {
            m_late.start(20);
        }
    };
}

QString Player::play(const Event &event, int number)
{
    if (!event.verb) {
        m_output->say(event.comment);
        return {};
    }
    const QString key = event.text("key");
    QStringList words = {QStringLiteral("→"), QLatin1String(event.verb->phrase), key, event.text("action")};
    m_output->say(words.join(QLatin1Char(' ')).trimmed());
    m_output->begin(number, key);
    m_screen->setKey(key);
    const bool mayBeUnchanged = event.record && m_screen->shows(key); // the host adds it again
    const int before = m_output->reports();
    QString fault = perform(event);
    settle();
    if (mayBeUnchanged && before == m_output->reports()) {
        m_output->unchanged(key);
        m_output->flush();
    }
    m_output->begin(0, {});
    m_screen->setKey({});
    return fault;
}

QString Player::perform(const Event &event)
{
    const QString verb = QLatin1String(event.verb->name);
    const QString key = event.text("key");
    if (event.verb->call) {
        event.verb->call(*m_host, event);
        if (verb == QLatin1String("remove") || verb == QLatin1String("clear")) {
            m_screen->forget(key);
        }
    } else if (verb == QLatin1String("wait")) {
        m_output->begin(0, {});
        wait(event.members.value(QStringLiteral("ms")).toVariant().toLongLong());
    } else if (m_screen->isOurs()) {
        return m_screen->act(verb, key, event.text("action"), event.text("text"));
    } else {
        m_output->skipped(verb, key);
    }
    return {};
}

void Player::settle()
{
    if (m_settling) {
        return;
    }
    const QScopedValueRollback<bool> settling(m_settling, true);
    int before = 0;
    do {
        before = m_output->effects();
        m_answered = m_screen->settle();
    } while (m_answered && before != m_output->effects());
    m_late.stop();
    m_output->flush();
    Q_EMIT settled();
}
