// SPDX-License-Identifier: MIT
#pragma once

#include "standins/lumd/host.h"

#include <QtCore/QString>
#include <QtDBus/QDBusConnection>

/// The plug-in that was built or installed with this program.
QString pluginFile();

/// A notifications plug-in in this process, loaded and unloaded as the host does it.
class LoadedPlugin
{
public:
    /// Opens the shared library `file`; `errorString()` says why it is not a notifications plug-in of version 1.
    explicit LoadedPlugin(const QString &file);
    /// Unloads it and closes the library.
    ~LoadedPlugin();
    LoadedPlugin(const LoadedPlugin &) = delete;
    LoadedPlugin &operator=(const LoadedPlugin &) = delete;

    /// Empty when the plug-in can be used.
    QString errorString() const { return m_error; }
    /// The exported descriptor; null after an error.
    const lu_plugin_def *definition() const { return m_definition; }
    /// Calls its load function for `host`, which must outlive the load; returns its result.
    int load(lumd::Host *host);
    /// Calls its unload function, unless it is not loaded.
    void unload();
    /// The connection between a loaded plug-in and its notification server.
    static QDBusConnection connection();

private:
    QString m_error;
    void *m_library = nullptr;
    const lu_plugin_def *m_definition = nullptr;
    lu_plugin_context m_context = {};
};
