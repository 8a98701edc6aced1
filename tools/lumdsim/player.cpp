// SPDX-License-Identifier: MIT
#include "tools/lumdsim/player.h"

#include "tools/harness/loadedplugin.h"
#include "tools/harness/settle.h"

#include <QtCore/QEventLoop>
#include <QtCore/QLoggingCategory>
#include <QtCore/QScopedValueRollback>
#include <QtDBus/QDBusMessage>

namespace
{

// Only the plug-in's debug messages tell that an update changes nothing, so they are always on. They are printed where
// the user's logging rules ask for them.
std::function<void()> reportUnchanged;
QLoggingCategory::CategoryFilter applyRules = nullptr; ///< the user's
QtMessageHandler printMessage = nullptr;
bool debugIsWanted = false;

bool isPlugin(const char *category) { return qstrcmp(category, "com.velmo.lumd.plugin.notifications") == 0; }

void filter(QLoggingCategory *category)
{
    applyRules(category);
    if (isPlugin(category->categoryName())) {
        debugIsWanted = category->isDebugEnabled();
        category->setEnabled(QtDebugMsg, true);
    }
}

void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const bool debug = type == QtDebugMsg && isPlugin(context.category);
    if (debug && message.startsWith("Not publishing unchanged notification")) {
        reportUnchanged();
    }
    if (!debug || debugIsWanted) {
        printMessage(type, context, message);
    }
}

} // namespace

Player::Player(lumd::Host *host, Screen *screen, Output *output)
    : m_host(host)
    , m_screen(screen)
    , m_output(output)
{
    host->onAction = [this](const std::string &key, lu_field *action) {
        const auto text = [action](uint32_t id) { return QString::fromUtf8(lu_field_get_str(action, id)); };
        m_open.remove(QString::fromStdString(key));
        m_output->action(QString::fromStdString(key), text(field::action::title), text(field::action::identifier));
    };
    host->onRemoved = [this](const std::string &key) {
        m_open.remove(QString::fromStdString(key));
        m_output->removed(QString::fromStdString(key));
    };
    reportUnchanged = [this] { m_output->unchanged(m_key); };
    printMessage = qInstallMessageHandler(handle);
    applyRules = QLoggingCategory::installFilter(filter);

    m_late.setSingleShot(true);
    connect(&m_late, &QTimer::timeout, this, &Player::settle);
    output->onReport = [this] {
        if (!m_settling) {
            m_late.start(20);
        }
    };
}

void Player::called(const QDBusMessage &call)
{
    const QStringList arguments = QVariant(call.arguments()).toStringList();
    m_open.remove(arguments.value(0));
    m_output->invoked(call.member(), arguments);
}

bool Player::play(const Event &event, int number, QString *error)
{
    if (!event.verb) {
        m_output->echo(event.comment);
        return true;
    }
    m_key = event.text("key");
    m_output->echo(QStringList{"→", event.verb->phrase, m_key, event.text("action")}.join(' ').trimmed());
    m_output->setLine(number);
    const bool performed = perform(event, error);
    settle();
    m_output->setLine(0);
    if (!m_answered) {
        *error = "the notification server does not answer";
    }
    return performed && m_answered;
}

bool Player::perform(const Event &event, QString *error)
{
    const QString verb = event.verb->name;
    if (event.verb->call) {
        if (verb == "add") {
            m_open.insert(m_key);
        } else if (verb == "remove") {
            m_open.remove(m_key);
        } else if (verb == "clear") {
            m_open.clear();
        }
        event.verb->call(*m_host, event);
    } else if (verb == "wait") {
        m_output->setLine(0);
        QEventLoop loop;
        QTimer::singleShot(event.members.value("ms").toInt(), Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    } else if (m_screen) {
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
        m_answered = ::settle(LoadedPlugin::connection());
    } while (m_answered && before != m_output->effects());
    m_late.stop();
    m_output->flush();
    Q_EMIT settled();
}
