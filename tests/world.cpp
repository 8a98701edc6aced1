#include "world.h"

#include "records.h"
#include "server.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QLoggingCategory>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtTest/QtTest>

#include <dlfcn.h>

lu_plugin_def *pluginDefinition()
{
    static void *const library = dlopen(KAVREL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        qFatal("%s", dlerror());
    }
    return static_cast<lu_plugin_def *>(dlsym(library, "_lu_plugin_def"));
}

World::World(const Options &options)
{
    registerDesktopNotificationTypes();
    m_oldTmpdir = qgetenv("TMPDIR");
    qputenv("TMPDIR", m_directory.path().toUtf8());
    // No test may reach the developer's own desktop.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    m_config = lumd::parseConfig(options.config, "test.ini", nullptr);
    m_host = std::make_unique<lumd::Host>(m_config.get());
    host = m_host.get();
    m_host->onRemoved = [this](const std::string &key) {
        told.append(QStringLiteral("removed ") + QString::fromStdString(key));
    };
    m_host->onAction = [this](const std::string &key, lu_field *action) {
        const auto text = [action](uint32_t id) { return QString::fromUtf8(lu_field_get_str(action, id)); };
        QString line = QStringLiteral("action %1 %2").arg(QString::fromStdString(key), text(0x01));
        if (lu_field_is_set(action, 0x21)) {
            line += QLatin1Char('|') + text(0x21);
        }
        if (!lu_field_is_set(action, 0x31) || !text(0x31).isEmpty()) {
            line += QStringLiteral(" without an empty field 0x31");
        }
        told.append(line);
    };

    if (options.server) {
        auto *const context = new QObject;
        context->moveToThread(&m_thread);
        m_thread.start();
        QMetaObject::invokeMethod(
            context,
            [this] {
                m_server = new Server;
                connect(m_server, &Server::Shown, this, [this](const DesktopNotification &notification, bool replaced) {
                    notifies.append(notification);
                    replacements.append(replaced);
                });
                if (!m_server->listen(QStringLiteral("unix:path=%1/bus").arg(m_directory.path()))) {
                    qFatal("%s", qPrintable(m_server->errorString()));
                }
            },
            Qt::BlockingQueuedConnection);
        connect(&m_thread, &QThread::finished, context, &QObject::deleteLater);
    }
    qputenv("LUMD_P2P_DBUS_ADDRESS", options.address == "none" ? serverAddress() : options.address);
    if (options.load) {
        load();
    }
}

World::~World()
{
    unload();
    settle();
    stopServer();
    QDBusConnection::disconnectFromPeer(QStringLiteral("peerconnection"));
    m_oldTmpdir.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_oldTmpdir);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const std::string &finding : lumd::takeFindings()) {
        QTest::qFail(finding.c_str(), __FILE__, __LINE__);
    }
    if (lumd::liveRecords() != 0) {
        QTest::qFail("host records leaked", __FILE__, __LINE__);
    }
}

void World::load()
{
    m_context.handle = m_host->handle();
    QCOMPARE(pluginDefinition()->load(&m_context), 0);
    m_loaded = true;
}

void World::unload()
{
    if (m_loaded) {
        pluginDefinition()->unload(&m_context);
        m_loaded = false;
    }
}

void World::add(const QByteArray &json)
{
    QString error;
    const lumd::Record record =
        notificationFromJson(QJsonDocument::fromJson(json).object(), QDir(m_directory.path()), &error);
    QVERIFY2(record, qPrintable(error));
    host->add(record.get());
}

void World::settle()
{
    const QDBusConnection peer(QStringLiteral("peerconnection"));
    if (m_server && peer.isConnected()) {
        const QDBusMessage roundTrip = QDBusMessage::createMethodCall(
            QString(), protocol::objectPath(), protocol::service(), QStringLiteral("GetServerInformation"));
        peer.call(roundTrip);
    }
    // Posted events only: timers fire when a test lets them.
    QCoreApplication::sendPostedEvents();
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
    DesktopNotificationList list;
    onServer([&list](Server &server) { list = server.List(); });
    return list;
}

DesktopNotification World::only()
{
    const DesktopNotificationList list = desktop();
    if (list.size() != 1) {
        QTest::qFail(qPrintable(QStringLiteral("%1 notifications shown").arg(list.size())), __FILE__, __LINE__);
        return {};
    }
    return list.first();
}

void World::stopServer()
{
    if (m_server) {
        onServer([](Server &server) { delete &server; });
        m_server = nullptr;
    }
    m_thread.quit();
    m_thread.wait();
}

QStringList World::cacheFiles() const
{
    return QDir(cachePath()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

QByteArray World::serverAddress() const { return m_server ? m_server->address().toUtf8() : QByteArray(); }

namespace
{

QStringList lines;
QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (qstrcmp(context.category, "com.velmo.lumd.plugin.notifications") != 0) {
        previousHandler(type, context, text);
        return;
    }
    static const char *const levels[] = {"debug: ", "warning: ", "critical: ", "fatal: ", "info: "};
    lines.append(QLatin1String(levels[type]) + text);
}

} // namespace

LogLines::LogLines()
{
    lines.clear();
    QLoggingCategory::setFilterRules(QStringLiteral("com.velmo.lumd.plugin.notifications.debug=true"));
    previousHandler = qInstallMessageHandler(collect);
}

LogLines::~LogLines()
{
    qInstallMessageHandler(previousHandler);
    QLoggingCategory::setFilterRules(QString());
}

QStringList LogLines::take() { return std::exchange(lines, {}); }

QStringList describe(const DesktopNotification &notification)
{
    QStringList properties = {
        QStringLiteral("appName=") + notification.appName,
        QStringLiteral("appIcon=") + notification.appIcon,
        QStringLiteral("summary=") + notification.summary,
        QStringLiteral("body=") + notification.body,
        QStringLiteral("actions=") + notification.actions.join(QLatin1Char(';')),
        QStringLiteral("expireTimeout=") + QString::number(notification.expireTimeout),
    };
    for (auto hint = notification.hints.cbegin(); hint != notification.hints.cend(); ++hint) {
        const bool isByte = hint->userType() == QMetaType::UChar; // its text would be the character
        const QString value = isByte ? QString::number(hint->toInt()) : hint->toString();
        properties.append(QStringLiteral("hint %1=%2 %3").arg(hint.key(), QLatin1String(hint->typeName()), value));
    }
    return properties;
}
