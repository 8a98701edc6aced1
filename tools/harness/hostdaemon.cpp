// SPDX-License-Identifier: MIT
#include "tools/harness/hostdaemon.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtDBus/QDBusError>

static bool claimBus(QString *error)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        *error = "There is no session bus: " + bus.lastError().message();
        return false;
    }
    if (!bus.registerService("com.velmo.lumd")) {
        *error = "Another host is on this session bus: the name com.velmo.lumd is taken.";
        return false;
    }
    return true;
}

HostDaemon::HostDaemon(lu_config_parser *config)
    : host(config)
{
}

bool HostDaemon::start(const QString &file, const QString &server, QString *error)
{
    if (!m_folder.isValid()) {
        *error = QString("No temporary folder in %1: %2").arg(QDir::tempPath(), m_folder.errorString());
        return false;
    }
    qputenv("TMPDIR", QFile::encodeName(m_folder.path())); // a host that runs has its icons in the usual place
    qputenv("LUMD_P2P_DBUS_ADDRESS", server.toUtf8());
    if (server.isEmpty() && !claimBus(error)) {
        return false;
    }
    m_plugin = std::make_unique<LoadedPlugin>(file);
    if (!m_plugin->definition()) {
        *error = m_plugin->errorString();
        return false;
    }
    if (m_plugin->load(&host) != 0) {
        *error = "The plug-in's load function failed.";
        return false;
    }
    LoadedPlugin::connection().registerObject("/com/velmo/lumd", this, QDBusConnection::ExportScriptableSlots);
    return true;
}
