// SPDX-License-Identifier: MIT
#include "bench/content.h"
#include "bench/side.h"

#include <notificationconnectionmanager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QSaveFile>

#include <vector>

namespace
{

QString connectionName() { return QStringLiteral("bare"); }

class BareSide : public Side
{
public:
    BareSide();

private:
    void learnContent();
    std::vector<uint> notifySome(int count);
    void closeAll(const std::vector<uint> &ids);
    double publish(int count, bool icons);
    double dismiss(int count);
    double invoke(int count);
    double close(int count);

    DesktopNotification m_content;
};

BareSide::BareSide()
{
    startServer();
    learnContent();
    use(QDBusConnection::connectToPeer(address(), connectionName()));
    listen("NotificationClosed");
    listen("ActionInvoked");
    notifySome(100);

    operations["new"] = [this](int count) { return publish(count, false); };
    operations["icons"] = [this](int count) { return publish(count, true); };
    operations["dismiss"] = [this](int count) { return dismiss(count); };
    operations["invoke"] = [this](int count) { return invoke(count); };
    operations["remove"] = [this](int count) { return close(count); };
}

/// Publishes through the client library once, on a connection of its own, to see what it sends.
void BareSide::learnContent()
{
    const QString name = QStringLiteral("learning");
    use(QDBusConnection::connectToPeer(address(), name));
    NotificationConnectionManager::useDBusConnection(connection());
    const std::unique_ptr<Notification> object = published(QStringLiteral("0|com.example.mail|1000001|null|10083"));
    m_content = qdbus_cast<DesktopNotificationList>(connection().call(control("List")).arguments().value(0)).first();
    m_content.id = 0;
    object->close();
    settle();
    QDBusConnection::disconnectFromPeer(name);
}

std::vector<uint> BareSide::notifySome(int count)
{
    std::vector<uint> ids;
    ids.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        ids.push_back(notify(m_content));
    }
    return ids;
}

void BareSide::closeAll(const std::vector<uint> &ids)
{
    for (const uint id : ids) {
        connection().send(request("CloseNotification", {id}));
    }
    settle();
}

double BareSide::publish(int count, bool icons)
{
    const QByteArray icon(10 * 1024, 'i');
    std::vector<uint> ids;
    nextId(); // as the plug-in's side
    const double seconds = timed(count, [&](int i) {
        for (const char *const name : {"%1/%2.png", "%1/%2_large.png"}) {
            QSaveFile file(QString::fromLatin1(name).arg(m_directory.path()).arg(i));
            if (icons && (!file.open(QIODevice::WriteOnly) || file.write(icon) != icon.size() || !file.commit())) {
                qFatal("Cannot write an icon");
            }
        }
        ids.push_back(notify(m_content));
    });
    closeAll(ids);
    for (int i = 0; i < count; ++i) {
        QFile::remove(QStringLiteral("%1/%2.png").arg(m_directory.path()).arg(i));
        QFile::remove(QStringLiteral("%1/%2_large.png").arg(m_directory.path()).arg(i));
    }
    return seconds;
}

double BareSide::dismiss(int count)
{
    const std::vector<uint> ids = notifySome(count);
    return causeEvents(count, [&](int i) { return control("Dismiss", {ids[static_cast<size_t>(i)]}); });
}

double BareSide::invoke(int count)
{
    DesktopNotification resident = m_content;
    resident.hints.insert(protocol::hint::resident(), true);
    const uint id = notify(resident);
    const double seconds = causeEvents(count, [&](int) { return control("Invoke", {id, QStringLiteral("default")}); });
    closeAll({id});
    return seconds;
}

double BareSide::close(int count)
{
    const std::vector<uint> ids = notifySome(count);
    settle();
    return timed(1, [&](int) { closeAll(ids); }) / count;
}

class LoadingSide : public Side
{
public:
    LoadingSide();

private:
    double connectAndDisconnect(int count, bool converse);
};

LoadingSide::LoadingSide()
{
    startServer();
    qputenv("LUMD_P2P_DBUS_ADDRESS", address().toUtf8());
    qputenv("TMPDIR", m_directory.path().toUtf8());
    operations["load"] = [plugin = loadLibrary()](int count) {
        const lumd::Host host(nullptr);
        lu_plugin_context context = {host.handle(), nullptr};
        return timed(count, [&](int) {
            plugin->load(&context);
            plugin->unload(&context);
            QDBusConnection::disconnectFromPeer(QStringLiteral("peerconnection"));
        });
    };
    operations["connect"] = [this](int count) { return connectAndDisconnect(count, false); };
    operations["converse"] = [this](int count) { return connectAndDisconnect(count, true); };
}

/// A connection is made without waiting for the other end. To `converse` is what loading and unloading cannot do
/// without: both signals, and the question what is shown, once at each end.
double LoadingSide::connectAndDisconnect(int count, bool converse)
{
    return timed(count, [&](int) {
        use(QDBusConnection::connectToPeer(address(), connectionName()));
        if (converse) {
            listen("NotificationClosed");
            listen("ActionInvoked");
            connection().call(extension("GetNotifications", {QStringLiteral("kavrel-bench-side")}));
            connection().call(extension("GetNotifications", {QStringLiteral("kavrel-bench-side")}));
        }
        QDBusConnection::disconnectFromPeer(connectionName());
    });
}

} // namespace

std::unique_ptr<Side> makeBareSide() { return std::make_unique<BareSide>(); }
std::unique_ptr<Side> makeLoadingSide() { return std::make_unique<LoadingSide>(); }
