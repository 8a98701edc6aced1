// SPDX-License-Identifier: MIT
#pragma once

#include "standins/server/server.h"

#include <QtCore/QThread>

#include <functional>

/// Our notification server in a thread of its own, for peers in this process.
class ServerThread
{
public:
    ServerThread();
    /// Closes the connections of all peers, and ends the thread.
    ~ServerThread();

    /// Listens on an address of its own choice.
    bool listen(QString *error);
    QString address() const { return m_address; }

    /// Its signals come from its thread.
    const Server *server() const { return m_server; }
    /// Runs `work` on its thread, and returns when that is done.
    void run(const std::function<void(Server &)> &work);

private:
    QThread m_thread;
    Server *const m_server = new Server;
    const QString m_address;
};
