// SPDX-License-Identifier: MIT
#include "tools/harness/serverprocess.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

ServerProcess::ServerProcess() { m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel); }

ServerProcess::~ServerProcess() { stop(); }

bool ServerProcess::listen(const QString &address)
{
    const QString greeting = QStringLiteral("listening on ");
    if (!start({QStringLiteral("--address"), address})) {
        return false;
    }
    const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
    m_address = line.startsWith(greeting) ? line.mid(greeting.size()) : QString();
    return !m_address.isEmpty();
}

bool ServerProcess::serveBus() { return start({QStringLiteral("--session")}); }

/// Returns when it has said that it can be reached.
bool ServerProcess::start(const QStringList &arguments)
{
    stop();
    const QString name = QStringLiteral("kavrel-notification-server");
    const QFileInfo sibling(QDir(QCoreApplication::applicationDirPath()), name);
    m_process.start(sibling.isExecutable() ? sibling.filePath() : name,
                    arguments + QStringList{QStringLiteral("--quiet"), QStringLiteral("--exit-with-parent")});
    if (m_process.processId() < 0) {
        // The system is out of processes, which Qt does not notice: its destructor would kill number -1, that is every
        // process that the user has.
        qFatal("The system is out of processes.");
    }
    while (!m_process.canReadLine() && m_process.waitForReadyRead(5000)) {
    }
    return m_process.canReadLine();
}

void ServerProcess::stop()
{
    m_address.clear();
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
        m_process.waitForFinished(2000);
    }
}
