// SPDX-License-Identifier: MIT
#include "tools/lumdsim/player.h"

#include "tools/lumdsim/pluginlog.h"

#include <QtCore/QEventLoop>
#include <QtCore/QScopedValueRollback>

#include <limits>

static void wait(qint64 milliseconds)
{
    QEventLoop loop;
    const qint64 time = qMin<qint64>(milliseconds, std::numeric_limits<int>::max());
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
    host->onAction = [this](const std::string &key, lu_field *action) {
        const auto text = [action](uint32_t id) { return QString::fromUtf8(lu_field_get_str(action, id)); };
        m_open.remove(QString::fromStdString(key));
        m_output->action(QString::fromStdString(key), text(field::action::title), text(field::action::identifier));
    };
    host->onRemoved = [this](const std::string &key) {
        m_open.remove(QString::fromStdString(key));
        m_output->removed(QString::fromStdString(key));
    };
    onUnchanged([this] { m_output->unchanged(m_key); });

    m_late.setSingleShot(true);
    connect(&m_late, &QTimer::timeout, this, &Player::settle);
    output->onReport = [this] {
        if (!m_settling) {
            m_late.start(20);
        }
    };
}

void Player::called(const QString &method, const QStringList &arguments)
{
    m_open.remove(arguments.value(0));
    m_output->invoked(method, arguments);
}

bool Player::play(const Event &event, int number, QString *error)
{
    if (!event.verb) {
        m_output->say(event.comment);
        return true;
    }
    m_key = event.text("key");
    const QStringList words = {QStringLiteral("→"), QLatin1String(event.verb->phrase), m_key, event.text("action")};
    m_output->say(words.join(QLatin1Char(' ')).trimmed());
    m_output->setLine(number);
    const bool performed = perform(event, error);
    settle();
    m_output->setLine(0);
    if (!m_answered) {
        *error = QStringLiteral("the notification server does not answer");
    }
    return performed && m_answered;
}

bool Player::perform(const Event &event, QString *error)
{
    const QString verb = QLatin1String(event.verb->name);
    if (event.verb->call) {
        if (verb == QLatin1String("add")) {
            m_open.insert(m_key);
        } else if (verb == QLatin1String("remove")) {
            m_open.remove(m_key);
        } else if (verb == QLatin1String("clear")) {
            m_open.clear();
        }
        event.verb->call(*m_host, event);
    } else if (verb == QLatin1String("wait")) {
        m_output->setLine(0);
        wait(event.members.value(QStringLiteral("ms")).toVariant().toLongLong());
    } else if (m_screen->isOurs()) {
        return m_screen->act(verb, m_key, event.text("action"), event.text("text"), error);
    } else {
        m_output->skipped(verb, m_key);
    }
    return true;
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
