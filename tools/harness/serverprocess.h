// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QProcess>

/// Our notification server in a process of its own, which ends with this object and with this process.
class ServerProcess
{
public:
    ServerProcess();
    ~ServerProcess();
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;

    /// Starts it on a D-Bus address, by default one of its own choice, and waits until peers can connect to
    /// `address()`.
    bool listen(const QString &address = QStringLiteral("unix:tmpdir=/tmp"));
    /// Starts it on the session bus that is in this process's environment, and waits until it owns the name.
    bool serveBus();
    /// Ends it.
    void stop();

    /// Where it listens; empty when it does not.
    QString address() const { return m_address; }
    qint64 processId() const { return m_process.processId(); }

private:
    bool start(const QStringList &arguments);

    QProcess m_process;
    QString m_address;
};
