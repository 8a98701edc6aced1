// SPDX-License-Identifier: MIT
#include "standins/server/endpoint.h"

#include "standins/protocol/desktopnotification.h"

#include <QtDBus/QDBusError>
#include <QtDBus/QDBusServer>

#include <sys/resource.h>
#include <unistd.h>

namespace
{

QString localPath() { return QStringLiteral("/org/freedesktop/DBus/Local"); }
QString localInterface() { return QStringLiteral("org.freedesktop.DBus.Local"); }

/// Leaves descriptors for everything else: without any, accepting a connection fails over and over.
int maximumPeers()
{
    rlimit files = {};
    getrlimit(RLIMIT_NOFILE, &files);
    return static_cast<int>(std::min<rlim_t>(files.rlim_cur / 2, 4096));
}

} // namespace

Endpoint::Endpoint(QObject *parent)
    : QObject(parent)
{
}

Endpoint::~Endpoint()
{
    for (const QString &peer : qAsConst(m_peers)) {
        leave(peer);
    }
    if (!m_bus.isEmpty()) {
        QDBusConnection bus(m_bus);
        bus.unregisterService(protocol::service());
        bus.unregisterObject(protocol::objectPath());
    }
}

bool Endpoint::listen(const QString &address)
{
    m_listener = std::make_unique<QDBusServer>(address);
    if (!m_listener->isConnected()) {
        m_error = QStringLiteral("cannot listen on %1: %2").arg(address, m_listener->lastError().message());
        m_listener.reset();
        return false;
    }
    connect(m_listener.get(), &QDBusServer::newConnection, this, &Endpoint::addPeer);
    return true;
}

bool Endpoint::serveBus(QDBusConnection bus)
{
    if (!bus.isConnected()) {
        m_error = QStringLiteral("no bus: ") + bus.lastError().message();
        return false;
    }
    if (!bus.registerObject(protocol::objectPath(), this) || !bus.registerService(protocol::service())) {
        m_error = QStringLiteral("another notification server owns the name ") + protocol::service();
        return false;
    }
    m_bus = bus.name();
    bus.connect({}, localPath(), localInterface(), QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    return true;
}

QString Endpoint::address() const { return m_listener ? m_listener->address() : QString(); }

void Endpoint::removeSocket() const
{
    const QString path = address().section(QStringLiteral("unix:path="), 1).section(QLatin1Char(','), 0, 0);
    unlink(QByteArray::fromPercentEncoding(path.toUtf8()).constData());
}

void Endpoint::addPeer(const QDBusConnection &connection)
{
    QDBusConnection peer = connection;
    if (m_peers.size() >= maximumPeers()) {
        QDBusConnection::disconnectFromPeer(peer.name());
        return;
    }
    peer.registerObject(protocol::objectPath(), this);
    peer.connect({}, localPath(), localInterface(), QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    m_peers.append(peer.name());
}

void Endpoint::onDisconnected()
{
    const QString name = QDBusContext::connection().name();
    if (name == m_bus) {
        Q_EMIT busLost();
    } else if (m_peers.removeOne(name)) {
        leave(name);
    }
}

void Endpoint::leave(const QString &name)
{
    // A thread of Qt's own closes the connection later, when this object may be gone: it must not find it then.
    QDBusConnection peer(name);
    peer.unregisterObject(protocol::objectPath());
    peer.disconnect({}, localPath(), localInterface(), QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    QDBusConnection::disconnectFromPeer(name);
}
