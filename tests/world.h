// SPDX-License-Identifier: MIT
#pragma once

#include "standins/config-parser/configparser.h"
#include "standins/lumd/host.h"
#include "standins/protocol/desktopnotification.h"
#include "standins/server/server.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <functional>

/// What a test starts from: a host with the real plug-in loaded, and a real notification server in a thread of
/// its own at the other end of a real peer connection. Everything is private to the test and ends with it;
/// misuse of host records and leaked records fail the test. The server's identifiers begin with 1.
class World : public QObject
{
    Q_OBJECT

public:
    /// `config` is INI text; `address`, if any, stands in the environment instead of the server's.
    explicit World(const std::string &config = {}, const char *address = nullptr);
    ~World() override;
    void load();
    void unload();

    /// The host does what the members of a script's line say: it adds, under the key "k", unless they differ.
    void play(const QByteArray &members);
    /// The host adds a notification that the user may dismiss; the texts are bytes as they are.
    void add(const std::string &key, const char *title, const QByteArray &small, const QByteArray &large) const;
    /// Returns when all that was sent has arrived and all that has arrived is handled; timers do not fire.
    void settle();
    /// What is on the desktop now.
    DesktopNotificationList desktop();
    DesktopNotification only();
    /// How the properties that `like` names are in the only notification; hints other than texts come with their
    /// type, "!" is for missing, "\n" for a line's end: "summary=Hello; urgency=uchar 1; !category".
    QString seen(const QString &like);
    /// Runs `work` on the server's thread.
    void onServer(const std::function<void(Server &)> &work);
    void stopServer()
    {
        m_thread.quit();
        m_thread.wait();
    }

    QString cachePath() const { return m_directory.path() + "/lumd/notif"; }
    QStringList cacheFiles() const;

    std::unique_ptr<lumd::Host> host;
    QList<bool> notifies;          ///< for every `Notify` that the server received, whether it replaced
    QStringList told;              ///< what the host was told: "removed KEY", "action KEY TITLE|IDENTIFIER"
    inline static QStringList log; ///< what the plug-in logged: "warning: text"

private:
    const QByteArray m_oldTmpdir = qgetenv("TMPDIR");
    const QTemporaryDir m_directory;
    QThread m_thread;
    Server *m_server;
    QMap<uint, DesktopNotification> m_desktop;
    const lumd::Config m_config;
    lu_plugin_context m_context = {};
};

/// The plug-in's exported descriptor.
lu_plugin_def *pluginDefinition();
/// Test data: columns of texts, and rows, a line each unless it goes on before an arrow: "first => second".
void table(std::initializer_list<const char *> columns, const char *rows);
QString contents(const QString &path);
