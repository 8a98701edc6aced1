// SPDX-License-Identifier: MIT
#pragma once

#include "tools/harness/loadedplugin.h"

#include <QtCore/QObject>
#include <QtCore/QTemporaryDir>
#include <QtDBus/QDBusMessage>

#include <memory>

/// Surrounds one plug-in with all that the host daemon gives it: a temporary folder, where its icon cache lies, a
/// notification server's address, and the host's D-Bus object, whose methods the server calls for the user. They report
/// the call and do nothing else. The destructor unloads the plug-in and removes the folder.
class HostDaemon : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmo.lumd")

public:
    /// `config` may be null; it must outlive this object.
    explicit HostDaemon(lu_config_parser *config);

    /// Loads the plug-in `file`, which notifies at the D-Bus address `server`. Without one it notifies on the session
    /// bus, whose only host this process becomes first: another host's notifications are not ours to clear.
    bool start(const QString &file, const QString &server, QString *error);
    /// Unloads the plug-in, if it is loaded.
    void stop() { m_plugin.reset(); }

    /// Calls the plug-in, and hears from it.
    lumd::Host host;

public Q_SLOTS: // Taking the message as it is, they accept arguments that a server adds.
    Q_SCRIPTABLE void notificationActionInvoke(const QDBusMessage &call) { Q_EMIT called(call); }
    Q_SCRIPTABLE void notificationActionInvokeInput(const QDBusMessage &call) { Q_EMIT called(call); }

Q_SIGNALS:
    /// The notification server has called a method of the host.
    void called(const QDBusMessage &call);

private:
    const QTemporaryDir m_folder;
    std::unique_ptr<LoadedPlugin> m_plugin;
};
