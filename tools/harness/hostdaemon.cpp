// SPDX-License-Identifier: MIT
#include "tools/harness/hostdaemon.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtDBus/QDBusError>

namespace
{

bool claimBus(QDBusConnection bus, QString *error)
{
    const QString name = QStringLiteral("com.velmo.lumd");
    if (!bus.isConnected()) {
        *error = QStringLiteral("There is no session bus: ") + bus.lastError().message();
        return false;
    }
    if (!bus.registerService(name)) {
        *error = QStringLiteral("Another host is on this session bus: the name %1 is taken.").arg(name);
        return false;
    }
    return true;
}

} // namespace

HostDaemon::HostDaemon(lu_config_parser *config)
    : host(config)
{
}

HostDaemon::~HostDaemon() { stop(); }

bool HostDaemon::start(const QString &file, const QString &server, QString *error)
{
    constexpr const char *serverVariable = "LUMD_P2P_DBUS_ADDRESS"; // unset, it means the session bus
    if (!m_folder.isValid()) {
        *error = QStringLiteral("No temporary folder in %1: %2").arg(QDir::tempPath(), m_folder.errorString());
        return false;
    }
    qputenv("TMPDIR", QFile::encodeName(m_folder.path())); // a host that runs has its icons in the usual place
    m_onBus = server.isEmpty();
    if (!m_onBus) {
        qputenv(serverVariable, server.toUtf8());
    } else if (claimBus(QDBusConnection::sessionBus(), error)) {
        qunsetenv(serverVariable);
    } else {
        return false;
    }
    m_plugin = std::make_unique<LoadedPlugin>(file);
    if (!m_plugin->errorString().isEmpty()) {
        *error = m_plugin->errorString();
        return false;
    }
    if (m_plugin->load(&host) != 0) {
        *error = QStringLiteral("The plug-in's load function failed.");
        return false;
    }
    connection().registerObject(QStringLiteral("/com/velmo/lumd"), this, QDBusConnection::ExportScriptableSlots);
    return true;
}

QDBusConnection HostDaemon::connection() const
{
    // The plug-in makes the connection to a peer, and gives it this name.
    return m_onBus ? QDBusConnection::sessionBus() : QDBusConnection(QStringLiteral("peerconnection"));
}

void HostDaemon::report(const QDBusMessage &call)
{
    Q_EMIT called(call.member(), QVariant(call.arguments()).toStringList());
}
