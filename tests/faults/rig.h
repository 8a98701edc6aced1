#pragma once

#include "controlinterface.h"
#include "world.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <csignal>

/// A host with the plug-in, and a real server in a process of its own: over a private socket, or on a session bus
/// that nobody else uses.
class Rig
{
    QTemporaryDir m_directory;

public:
    enum Place { Peer, Bus };
    explicit Rig(Place place, bool withServer = true)
        : address("unix:path=" + m_directory.filePath("bus"))
        , m_place(place)
    {
        if (place == Bus) {
            run(m_daemon, "dbus-daemon", {"--session", "--nofork", "--print-address", "--address=" + address});
        }
        if (withServer) {
            startServer();
        }
        world = std::make_unique<World>(World::Options{{}, false, place == Bus ? "" : address.toUtf8(), false});
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        world->load();
    }
    ~Rig()
    {
        world->unload();
        signalServer(SIGCONT);
        killServer();
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

    void startServer()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", address);
        m_server.setProcessEnvironment(environment);
        const QStringList where = m_place == Bus ? QStringList{"--session"} : QStringList{"--address", address};
        run(m_server, KAVREL_SERVER, QStringList{"--quiet"} + where);
    }
    void killServer()
    {
        m_server.kill();
        m_server.waitForFinished();
        QFile::remove(m_directory.filePath(m_place == Peer ? "bus" : "none"));
    }
    void signalServer(int signal) const
    {
        if (m_server.processId() > 0) {
            ::kill(static_cast<pid_t>(m_server.processId()), signal);
        }
    }
    qint64 serverId() const { return m_server.processId(); }

    QDBusConnection connection() const
    {
        return m_place == Bus ? QDBusConnection::sessionBus() : QDBusConnection("peerconnection");
    }
    /// The user, on the connection over which the plug-in hears of what the user does.
    std::unique_ptr<ComVornNotificationsControlInterface> user() const
    {
        return std::make_unique<ComVornNotificationsControlInterface>(m_place == Bus ? protocol::service() : QString(),
                                                                      protocol::objectPath(), connection());
    }
    DesktopNotificationList desktop() const
    {
        QDBusPendingReply<DesktopNotificationList> reply = user()->List();
        reply.waitForFinished();
        world->settle();
        return reply.value();
    }

    const QString address;
    std::unique_ptr<World> world;

private:
    static void run(QProcess &process, const QString &program, const QStringList &arguments)
    {
        process.start(program, arguments);
        if (!process.waitForReadyRead(10000)) {
            qFatal("%s does not start", qPrintable(program));
        }
    }

    Place m_place;
    QProcess m_daemon;
    QProcess m_server;
};

/// A notification with an icon that alerts and that the user can dismiss.
inline lumd::Record record(const std::string &key, const std::string &title = "t", const std::string &text = {})
{
    lumd::Record fresh = lumd::newRecord(lumd::notificationRecord);
    lumd::setString(fresh.get(), 0x01, key);
    lumd::setString(fresh.get(), 0x21, title);
    lumd::setString(fresh.get(), 0x31, text);
    lumd::setInt(fresh.get(), 0x102, 3);
    lumd::setBool(fresh.get(), 0x164, true);
    lumd::setBytes(fresh.get(), 0x95, "png", 3);
    return fresh;
}

inline void add(const World &world, const std::string &key, const std::string &title = "t",
                const std::string &text = {})
{
    world.host->add(record(key, title, text).get());
}

/// Resident size of a process in KiB; of this one without an identifier.
inline qint64 residentKib(qint64 process = 0)
{
    QFile statm(process ? QString("/proc/%1/statm").arg(process) : QString("/proc/self/statm"));
    return statm.open(QIODevice::ReadOnly) ? statm.readAll().split(' ').value(1).toLongLong() * 4 : 0;
}
