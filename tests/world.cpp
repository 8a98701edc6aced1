// SPDX-License-Identifier: MIT
#include "tests/world.h"

#include "tools/lumdsim/script.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QLibrary>
#include <QtCore/QLoggingCategory>
#include <QtCore/QThreadPool>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

namespace
{

QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    static const char *const levels[] = {"debug: ", "warning: ", "critical: ", "fatal: ", "info: "};
    if (qstrcmp(context.category, "com.velmo.lumd.plugin.notifications") == 0) {
        World::log.append(levels[type] + text);
    } else {
        previousHandler(type, context, text);
    }
}

QString reported(const std::string &key, lu_field *action)
{
    const auto text = [action](uint32_t id) { return QString::fromUtf8(lu_field_get_str(action, id)); };
    const QString identifier = lu_field_is_set(action, 0x21) ? '|' + text(0x21) : QString();
    const char *const fault = lu_field_is_set(action, 0x31) && text(0x31).isEmpty() ? "" : " without field 0x31";
    return "action " + QString::fromStdString(key) + ' ' + text(0x01) + identifier + fault;
}

} // namespace

lu_plugin_def *pluginDefinition()
{
    return reinterpret_cast<lu_plugin_def *>(QLibrary::resolve(KAVREL_PLUGIN, "_lu_plugin_def"));
}

World::World(const std::string &config, const char *address)
    : m_server(new Server)
    , m_config(lumd::parseConfig(config, "test.ini", nullptr))
{
    qputenv("TMPDIR", m_directory.path().toUtf8());
    // No test may reach the developer's own desktop.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QLoggingCategory::setFilterRules("com.velmo.lumd.plugin.notifications.debug=true");
    log.clear();
    previousHandler = qInstallMessageHandler(collect);

    host = std::make_unique<lumd::Host>(m_config.get());
    m_context.handle = host->handle();
    host->onRemoved = [this](const std::string &key) { told.append("removed " + QString::fromStdString(key)); };
    host->onAction = [this](const std::string &key, lu_field *action) { told.append(reported(key, action)); };

    m_server->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_server, &QObject::deleteLater);
    m_thread.start();
    connect(m_server, &Server::Shown, this, [this](const DesktopNotification &shown, bool replaced) {
        m_desktop.insert(shown.id, shown).value().hints = plainMap(shown.hints);
        notifies.append(replaced);
    });
    connect(m_server, &Server::Closed, this, [this](uint id) { m_desktop.remove(id); });
    onServer([this](Server &server) { server.listen("unix:abstract=" + m_directory.filePath("bus")); });
    qputenv("LUMD_P2P_DBUS_ADDRESS", address ? QByteArray(address) : m_server->address().toUtf8());
    load();
}

World::~World()
{
    unload();
    QThreadPool::globalInstance()->waitForDone(); // an alert command uses the directory
    settle();
    stopServer();
    QDBusConnection::disconnectFromPeer("peerconnection");
    qputenv("TMPDIR", m_oldTmpdir);
    qInstallMessageHandler(previousHandler);
    for (const std::string &finding : lumd::takeFindings()) {
        QTest::qFail(finding.c_str(), __FILE__, __LINE__);
    }
    QVERIFY2(lumd::liveRecords() == 0, "host records leaked");
}

void World::load() { QCOMPARE(pluginDefinition()->load(&m_context), 0); }

void World::unload()
{
    pluginDefinition()->unload(&m_context);
    m_context.instance = nullptr;
}

void World::play(const QByteArray &members)
{
    QJsonObject line = QJsonDocument::fromJson('{' + members + '}').object();
    QVERIFY2(members.isEmpty() || !line.isEmpty(), members);
    if (!line.contains("do")) {
        line.insert("do", "add");
        line.insert("key", line.value("key").toString("k"));
    }
    Event event;
    QString error;
    QVERIFY2(readEvent(QJsonDocument(line).toJson(), {}, &event, &error), qPrintable(error));
    const auto call = event.verb == "publish"         ? &lumd::Host::publish
                      : event.verb == "installResult" ? &lumd::Host::installationResult
                      : event.verb == "add"           ? &lumd::Host::add
                                                      : &lumd::Host::uninstallationResult;
    (host.get()->*call)(event.record.get());
}

void World::add(const std::string &key, const char *title, const QByteArray &small, const QByteArray &large) const
{
    const lumd::Record record = lumd::newRecord(lumd::notificationRecord);
    lumd::setString(record.get(), 0x01, key);
    lumd::setString(record.get(), 0x21, title);
    lumd::setString(record.get(), 0x51, "org.example");
    lumd::setBytes(record.get(), 0x95, small.constData(), static_cast<size_t>(small.size()));
    lumd::setBytes(record.get(), 0xA5, large.constData(), static_cast<size_t>(large.size()));
    lumd::setBool(record.get(), 0x164, true);
    host->add(record.get());
}

void World::settle()
{
    const QDBusConnection peer("peerconnection");
    if (m_thread.isRunning() && peer.isConnected()) {
        peer.call(
            QDBusMessage::createMethodCall({}, protocol::objectPath(), protocol::service(), "GetServerInformation"));
    }
    QCoreApplication::sendPostedEvents(); // no timers
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void World::onServer(const std::function<void(Server &)> &work)
{
    QMetaObject::invokeMethod(
        m_server, [&] { work(*m_server); }, Qt::BlockingQueuedConnection);
}

DesktopNotificationList World::desktop()
{
    settle();
    return m_desktop.values();
}

DesktopNotification World::only()
{
    const DesktopNotificationList list = desktop();
    if (list.size() != 1) {
        QTest::qFail(qPrintable(QString("%1 notifications shown").arg(list.size())), __FILE__, __LINE__);
    }
    return list.value(0);
}

QString World::seen(const QString &like)
{
    const DesktopNotification n = only();
    QHash<QString, QString> all = {
        {"appName", n.appName}, {"appIcon", n.appIcon},           {"summary", n.summary},
        {"body", n.body},       {"actions", n.actions.join(',')}, {"expireTimeout", QString::number(n.expireTimeout)}};
    for (auto hint = n.hints.cbegin(); hint != n.hints.cend(); ++hint) {
        const QString type = hint->userType() == QMetaType::QString ? "" : QString(hint->typeName()) + ' ';
        const QString list = QJsonDocument::fromVariant(*hint).toJson(QJsonDocument::Compact);
        const bool isByte = hint->userType() == QMetaType::UChar; // its text would be the character
        all[hint.key()] = type + (isByte ? QString::number(hint->toInt()) : hint->toString() + list);
    }
    QStringList properties = like.split("; ");
    for (QString &property : properties) {
        const QString name = property.section('=', 0, 0).remove('!');
        property = all.contains(name) ? name + '=' + all[name].replace('\n', "\\n") : '!' + name;
    }
    return properties.join("; ");
}

QStringList World::cacheFiles() const { return QDir(cachePath()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

void table(std::initializer_list<const char *> columns, const char *rows)
{
    for (const char *const column : columns) {
        QTest::addColumn<QString>(column);
    }
    for (const QString &row : QString(rows).trimmed().split(QRegularExpression("\n *+(?!=>)"))) {
        QTestData &data = QTest::newRow(qPrintable(row.simplified()));
        for (int i = 0; i < static_cast<int>(columns.size()); ++i) {
            data << row.simplified().section(" => ", i, i);
        }
    }
}

QString contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : "cannot be read";
}
