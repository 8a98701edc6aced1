// SPDX-License-Identifier: MIT
#include "tests/fixture.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QThreadPool>

namespace
{

QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    static const char *const levels[] = {"debug: ", "warning: ", "critical: ", "fatal: ", "info: "};
    if (qstrcmp(context.category, "com.velmo.lumd.plugin.notifications") == 0) {
        Fixture::events.append(levels[type] + text);
    } else {
        previousHandler(type, context, text);
    }
}

QString reported(const std::string &key, lu_field *action)
{
    namespace id = field::action;
    const auto text = [action](uint32_t id) { return QString::fromUtf8(lu_field_get_str(action, id)); };
    const QString identifier = lu_field_is_set(action, id::identifier) ? '|' + text(id::identifier) : QString();
    const bool whole =
        lumd::recordType(action) == id::report && lu_field_is_set(action, id::reserved) && text(id::reserved).isEmpty();
    return (whole ? "told: action " : "told: malformed ") + QString::fromStdString(key) + ' ' + text(id::title) +
           identifier;
}

} // namespace

Fixture::Fixture(const std::string &config, const char *address)
    : m_config(config.empty() ? nullptr : lumd::parseConfig(config, "test.ini", nullptr))
{
    qputenv("TMPDIR", m_directory.path().toUtf8());
    // No test may reach the developer's own desktop.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QLoggingCategory::setFilterRules("com.velmo.lumd.plugin.notifications.debug=true");
    events.clear();
    previousHandler = qInstallMessageHandler(collect);

    host = std::make_unique<lumd::Host>(m_config.get());
    host->onRemoved = [](const std::string &key) {
        Fixture::events.append("told: removed " + QString::fromStdString(key));
    };
    host->onAction = [](const std::string &key, lu_field *action) { Fixture::events.append(reported(key, action)); };

    QObject::connect(m_server->server(), &Server::shown, QCoreApplication::instance(),
                     [](const DesktopNotification &shown, bool replaced) {
                         events.append(QString(replaced ? "replaced %1" : "shown %1").arg(shown.id));
                     });
    QString error;
    QVERIFY2(m_server->listen(&error), qPrintable(error));
    qputenv("LUMD_P2P_DBUS_ADDRESS", address ? QByteArray(address) : m_server->address().toUtf8());
    load();
}

Fixture::~Fixture()
{
    unload();
    QThreadPool::globalInstance()->waitForDone(); // an alert command uses the directory
    settle();
    m_server.reset();
    QDBusConnection::disconnectFromPeer("peerconnection");
    qputenv("TMPDIR", m_oldTmpdir);
    qInstallMessageHandler(previousHandler);
    for (const std::string &finding : lumd::takeFindings()) {
        QTest::qFail(finding.c_str(), __FILE__, __LINE__);
    }
    QVERIFY2(lumd::liveRecords() == 0, "host records leaked");
}

void Fixture::add(const QByteArray &key, Fields fields) const
{
    fields.emplace_back(field::notification::key, key);
    host->add(record(lumd::notificationRecord, fields).get());
}

QVariantMap Fixture::only()
{
    const QList<DesktopNotification> list = desktop();
    const DesktopNotification shown = list.value(0);
    QVariantMap look = {{"id", shown.id},
                        {"appName", shown.appName},
                        {"appIcon", shown.appIcon},
                        {"summary", shown.summary},
                        {"body", shown.body}};
    look.insert(shown.hints);
    return list.size() == 1 ? look : QVariantMap{{"shown", list.size()}};
}

QStringList described(const QVariantMap &properties)
{
    QStringList lines;
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        QDebug(&*lines.insert(lines.end(), {})) << property.key() << property.value();
    }
    return lines;
}

QString contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : "cannot be read";
}
