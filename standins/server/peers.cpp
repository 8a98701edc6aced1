// SPDX-License-Identifier: MIT
#include "controladaptor.h"
#include "extensionadaptor.h"
#include "notificationsadaptor.h"
#include "standins/server/server.h"

#include <QtCore/QTimer>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusServer>

namespace
{

QString localPath() { return QStringLiteral("/org/freedesktop/DBus/Local"); }
QString localInterface() { return QStringLiteral("org.freedesktop.DBus.Local"); }

} // namespace

Server::Server(QObject *parent)
    : QObject(parent)
{
    registerDesktopNotificationTypes();
    new NotificationsAdaptor(this);
    new ExtensionAdaptor(this);
    new ControlAdaptor(this);
}

Server::~Server()
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

bool Server::listen(const QString &address)
{
    m_listener = std::make_unique<QDBusServer>(address);
    if (!m_listener->isConnected()) {
        m_error = QStringLiteral("cannot listen on %1: %2").arg(address, m_listener->lastError().message());
        m_listener.reset();
        return false;
    }
    connect(m_listener.get(), &QDBusServer::newConnection, this, &Server::addPeer);
    return true;
}

bool Server::serveBus(QDBusConnection bus)
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
    return true;
}

QString Server::address() const { return m_listener ? m_listener->address() : QString(); }

void Server::addPeer(const QDBusConnection &connection)
{
    QDBusConnection peer = connection;
    peer.registerObject(protocol::objectPath(), this);
    // How a connection tells that its other end is gone.
    peer.connect(QString(), localPath(), localInterface(), QStringLiteral("Disconnected"), this, SLOT(removePeer()));
    m_peers.append(peer.name());
}

void Server::removePeer()
{
    const QString name = QDBusContext::connection().name();
    m_peers.removeAll(name);
    leave(name);
}

void Server::leave(const QString &name)
{
    // A thread of Qt's own closes the connection later, when this object may be gone: it must not find it then.
    QDBusConnection peer(name);
    peer.unregisterObject(protocol::objectPath());
    peer.disconnect(QString(), localPath(), localInterface(), QStringLiteral("Disconnected"), this, SLOT(removePeer()));
    QDBusConnection::disconnectFromPeer(name);
}
