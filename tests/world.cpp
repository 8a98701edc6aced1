// SPDX-License-Identifier: MIT
#include "tests/world.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QThreadPool>

namespace
{

QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    static const char *const levels[] = {"debug: ", "warning: ", "critical: ", "fatal: ", "info: "};
    if (qstrcmp(context.category, "com.velmo.lumd.plugin.notifications") == 0) {
        World::events.append(levels[type] + text);
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

lumd::Record record(uint32_t type, const Fields &fields)
{
    lumd::Record built = lumd::newRecord(type);
    lu_field *const record = built.get();
    for (const auto &[id, value] : fields) {
        const std::string bytes = value.toByteArray().toStdString();
        const field::TypeCode code = field::typeCode(id);
        std::vector<lumd::Record> records;
        for (const Fields &element : value.value<std::vector<Fields>>()) {
            records.push_back(::record(lumd::actionElementRecord, element));
        }
        code == field::String         ? lumd::setString(record, id, bytes)
        : code == field::Integer      ? lumd::setInt(record, id, value.toLongLong())
        : code == field::Boolean      ? lumd::setBool(record, id, value.toBool())
        : code == field::Bytes        ? lumd::setBytes(record, id, bytes.data(), bytes.size())
        : value.canConvert<Choices>() ? lumd::setStrings(record, id, value.value<Choices>())
                                      : lumd::setRecords(record, id, std::move(records));
    }
    return built;
}

World::World(const std::string &config, const char *address)
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
        World::events.append("told: removed " + QString::fromStdString(key));
    };
    host->onAction = [](const std::string &key, lu_field *action) { World::events.append(reported(key, action)); };

    m_server->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_server, &QObject::deleteLater);
    QObject::connect(m_server, &Server::Shown, QCoreApplication::instance(),
                     [](const DesktopNotification &shown, bool replaced) {
                         events.append(QString(replaced ? "replaced %1" : "shown %1").arg(shown.id));
                     });
    m_thread.start();
    onServer([this](Server &server) { server.listen("unix:abstract=" + m_directory.filePath("bus")); });
    qputenv("LUMD_P2P_DBUS_ADDRESS", address ? QByteArray(address) : m_server->address().toUtf8());
    load();
}

World::~World()
{
    unload();
    QThreadPool::globalInstance()->waitForDone(); // an alert command uses the directory
    settle();
    m_thread.quit();
    m_thread.wait();
    QDBusConnection::disconnectFromPeer("peerconnection");
    qputenv("TMPDIR", m_oldTmpdir);
    qInstallMessageHandler(previousHandler);
    for (const std::string &finding : lumd::takeFindings()) {
        QTest::qFail(finding.c_str(), __FILE__, __LINE__);
    }
    QVERIFY2(lumd::liveRecords() == 0, "host records leaked");
}

void World::add(const QByteArray &key, Fields fields) const
{
    fields.emplace_back(field::notification::key, key);
    host->add(record(lumd::notificationRecord, fields).get());
}

QVariantMap World::only()
{
    const DesktopNotificationList list = desktop();
    const DesktopNotification shown = list.value(0);
    QVariantMap look = {{"id", shown.id},
                        {"appName", shown.appName},
                        {"appIcon", shown.appIcon},
                        {"summary", shown.summary},
                        {"body", shown.body}};
    look.insert(plainMap(shown.hints));
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
