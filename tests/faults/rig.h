// SPDX-License-Identifier: MIT
#pragma once

#include "controlinterface.h"
#include "tests/world.h"

#include <QtCore/QProcess>
#include <QtDBus/QDBusConnection>

/// A real server in a process of its own, on an address or, without one, on the session bus.
inline void startServer(QProcess &process, const QString &address)
{
    process.waitForFinished(1000); // one that was killed
    process.start(KAVREL_SERVER, {"--quiet", address.isEmpty() ? "--session" : "--address=" + address});
    if (!process.waitForReadyRead(10000)) {
        qFatal("the server does not start");
    }
}

/// The user, on the connection over which the plug-in hears of what the user does.
inline std::unique_ptr<ComVornNotificationsControlInterface> user()
{
    const QDBusConnection peer("peerconnection");
    const QString service = peer.isConnected() ? QString() : protocol::service();
    return std::make_unique<ComVornNotificationsControlInterface>(
        service, protocol::objectPath(), peer.isConnected() ? peer : QDBusConnection::sessionBus());
}

/// Resident size of a process in KiB.
inline qint64 residentKib(qint64 process = QCoreApplication::applicationPid())
{
    return contents(QString("/proc/%1/statm").arg(process)).section(' ', 1, 1).toLongLong() * 4;
}
