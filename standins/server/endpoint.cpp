// SPDX-License-Identifier: MIT
#include "standins/server/endpoint.h"

#include "standins/protocol/desktopnotification.h"

#include <QtDBus/QDBusError>
#include <QtDBus/QDBusServer>

namespace
{

QString localPath() { return QStringLiteral("/org/freedesktop/DBus/Local"); }
QString localInterface() { return QStringLiteral("org.freedesktop.DBus.Local"); }

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
}

bool Endpoint::listen(const QString &address, QString *error)
{
    m_listener = new QDBusServer(address);
    connect(m_listener, &QDBusServer::newConnection, this, &Endpoint::addPeer);
    if (!m_listener->isConnected()) {
        *error = QStringLiteral("cannot listen on %1: %2").arg(address, m_listener->lastError().message());
    }
    return m_listener->isConnected();
}

void Endpoint::addPeer(const QDBusConnection &connection)
{
    QDBusConnection peer = connection;
    peer.registerObject(protocol::objectPath(), this);
    peer.connect({}, localPath(), localInterface(), QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    m_peers.append(peer.name());
}

void Endpoint::onDisconnected()
{
    const QString name = QDBusContext::connection().name();
    if (m_peers.removeOne(name)) {
        leave(name);
    }
}

void Endpoint::leave(const QString &name)
{
    // Qt's D-Bus thread closes the connection later, when this object may be gone.
    QDBusConnection peer(name);
    peer.unregisterObject(protocol::objectPath());
    peer.disconnect({}, localPath(), localInterface(), QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    QDBusConnection::disconnectFromPeer(name);
}
