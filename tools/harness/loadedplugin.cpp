// SPDX-License-Identifier: MIT
#include "tools/harness/loadedplugin.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstring>
#include <dlfcn.h>

QString pluginFile()
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString built = programs.filePath("../lib/kavrel.so");
    return QDir::cleanPath(QFile::exists(built) ? built : programs.filePath(KAVREL_INSTALLED));
}

LoadedPlugin::LoadedPlugin(const QString &file)
    : m_library(dlopen(QFile::encodeName(QFileInfo(file).absoluteFilePath()).constData(), RTLD_NOW | RTLD_LOCAL))
{
    const void *const symbol = m_library ? dlsym(m_library, "_lu_plugin_def") : nullptr;
    if (!symbol) {
        m_error = QString::fromUtf8(dlerror());
        return;
    }
    const auto *const definition = static_cast<const lu_plugin_def *>(symbol);
    if (definition->version >> 16 != 1 || std::strcmp(definition->type, "notifications") != 0) {
        m_error = "The plug-in is not a notifications plug-in of version 1.";
        return;
    }
    m_definition = definition;
}

LoadedPlugin::~LoadedPlugin()
{
    unload();
    if (m_library) {
        dlclose(m_library);
    }
}

int LoadedPlugin::load(lumd::Host *host)
{
    m_context.handle = host;
    return m_definition->load(&m_context);
}

void LoadedPlugin::unload()
{
    if (m_context.handle) {
        m_definition->unload(&m_context);
        m_context = {};
    }
}

QDBusConnection LoadedPlugin::connection()
{
    // The plug-in connects to a peer only if the host gives an address, and chooses the name.
    return qEnvironmentVariableIsEmpty("LUMD_P2P_DBUS_ADDRESS") ? QDBusConnection::sessionBus()
                                                                : QDBusConnection("peerconnection");
}
