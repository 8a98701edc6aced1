// SPDX-License-Identifier: MIT
#include "tools/harness/serverthread.h"

#include <QtCore/QUuid>

ServerThread::ServerThread()
    : m_address("unix:abstract=/tmp/kavrel-" + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    m_server->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_server, &QObject::deleteLater);
    m_thread.start();
}

ServerThread::~ServerThread()
{
    m_thread.quit();
    m_thread.wait();
}

bool ServerThread::listen(QString *error)
{
    bool listens = false;
    run([&](Server &server) { listens = server.listen(m_address, error); });
    return listens;
}

void ServerThread::run(const std::function<void(Server &)> &work)
{
    QMetaObject::invokeMethod(
        m_server, [&] { work(*m_server); }, Qt::BlockingQueuedConnection);
}
