// SPDX-License-Identifier: MIT
#include "tools/lumdsim/player.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QHash>
#include <QtCore/QScopedValueRollback>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <limits>
#include <utility>

static void wait(qint64 milliseconds)
{
    QEventLoop loop;
    const qint64 time = qBound<qint64>(0, milliseconds, std::numeric_limits<int>::max());
    QTimer::singleShot(static_cast<int>(time), Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

Player::Player(lumd::Host *host, Screen *screen, Output *output, QString client)
    : m_host(host)
    , m_screen(screen)
    , m_output(output)
    , m_client(std::move(client))
{
    connect(screen, &Screen::shown, this,
            [output](const DesktopNotification &shown, bool replaced) { output->shown(shown, replaced); });
    connect(screen, &Screen::closed, this,
            [output](const DesktopNotification &closed, uint reason) { output->closed(closed, reason); });
    host->onAction = [output](const std::string &key, lu_field *action) {
        const auto text = [action](uint32_t id) { return QString::fromUtf8(lu_field_get_str(action, id)); };
        output->action(QString::fromStdString(key), text(0x01), text(0x21));
    };
    host->onRemoved = [output](const std::string &key) { output->removed(QString::fromStdString(key)); };

    m_late.setSingleShot(true);
    connect(&m_late, &QTimer::timeout, this, &Player::settle);
    output->onReport = [this] { m_late.start(20); };
}

QString Player::play(const Event &event)
{
    if (event.verb.isEmpty()) {
        m_output->say(event.comment);
        return {};
    }
    const QString key = event.text("key");
    const QString action = event.text("action");
    const QByteArray keyBytes = key.toUtf8();
    lu_field *const record = event.record.get();
    QString fault;
    const auto dexopt = [&] {
        const QByteArray summary = event.text("summary").toUtf8();
        const QByteArray body = event.text("body").toUtf8();
        const double progress = event.members.value(QStringLiteral("progress")).toDouble();
        m_host->dexoptNotify(summary.constData(), body.constData(), progress);
    };
    const auto act = [&] { fault = m_screen->act(event.verb, key, action, event.text("text")); };
    const QHash<QString, std::pair<const char *, std::function<void()>>> deeds = {
        {QStringLiteral("add"), {"host adds", [&] { m_host->add(record); }}},
        {QStringLiteral("remove"), {"host removes", [&] { m_host->remove(keyBytes.constData()); }}},
        {QStringLiteral("clear"), {"host clears", [&] { m_host->clear(); }}},
        {QStringLiteral("connected"), {"host connects", [&] { m_host->connected(); }}},
        {QStringLiteral("publish"), {"host publishes", [&] { m_host->publish(record); }}},
        {QStringLiteral("installResult"), {"host installs", [&] { m_host->installationResult(record); }}},
        {QStringLiteral("uninstallResult"), {"host uninstalls", [&] { m_host->uninstallationResult(record); }}},
        {QStringLiteral("dexopt"), {"host optimises", dexopt}},
        {QStringLiteral("wait"), {"time passes", [&] { wait(lu_field_get_int(record, 0x02)); }}},
        {QStringLiteral("invoke"), {"user invokes", act}},
        {QStringLiteral("reply"), {"user replies", act}},
        {QStringLiteral("dismiss"), {"user dismisses", act}},
    };
    const auto [phrase, perform] = deeds.value(event.verb);
    m_output->say(
        QStringList{QStringLiteral("→"), QLatin1String(phrase), key, action}.join(QLatin1Char(' ')).trimmed());
    perform();
    return fault;
}

bool Player::settle()
{
    if (m_settling) {
        return true;
    }
    const QScopedValueRollback<bool> settling(m_settling, true);
    const QDBusConnection client(m_client);
    const QString service = client.baseService().isEmpty() ? QString() : protocol::service(); // on a bus
    const QDBusMessage roundTrip = QDBusMessage::createMethodCall(service, protocol::objectPath(), protocol::service(),
                                                                  QStringLiteral("GetServerInformation"));
    bool answered = true;
    int before = -1;
    while (answered && before != m_output->reports()) {
        before = m_output->reports();
        const QDBusMessage reply = client.call(roundTrip, QDBus::Block, 5000);
        answered = reply.type() == QDBusMessage::ReplyMessage && m_screen->roundTrip();
        QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    m_late.stop();
    m_output->flush();
    return answered;
}
