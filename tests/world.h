#pragma once

#include "configparser.h"
#include "desktopnotification.h"
#include "host.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <functional>

class Server;

/// What a test starts from: a host with the real plug-in loaded, and a real notification server in a thread of
/// its own at the other end of a real peer connection. Everything is private to the test and ends with it;
/// misuse of host records and leaked records fail the test.
class World : public QObject
{
    Q_OBJECT

public:
    struct Options {
        std::string config; ///< INI text
        bool server;        ///< start a server and name it in the environment
        QByteArray address; ///< the address in the environment if not the server's ("none")
        bool load;
    };
    explicit World(const std::string &config = {})
        : World(Options{config, true, "none", true})
    {
    }
    explicit World(const Options &options);
    ~World() override;

    void load();
    void unload();

    /// The host adds a notification given as a script's JSON members.
    void add(const QByteArray &json);
    /// Returns when all that was sent has arrived and all that has arrived is handled.
    void settle();
    /// What is on the desktop now.
    DesktopNotificationList desktop();
    DesktopNotification only();
    /// Runs `work` on the server's thread.
    void onServer(const std::function<void(Server &)> &work);
    void stopServer();

    QString cachePath() const { return m_directory.path() + QStringLiteral("/lumd/notif"); }
    QStringList cacheFiles() const;
    /// The address of the server.
    QByteArray serverAddress() const;

    lumd::Host *host = nullptr;
    DesktopNotificationList notifies; ///< every `Notify` that the server received
    QList<bool> replacements;         ///< for each of them, whether it replaced
    QStringList told;                 ///< what the host was told: "removed KEY", "action KEY TITLE|IDENTIFIER"

private:
    QByteArray m_oldTmpdir;
    QTemporaryDir m_directory;
    QThread m_thread;
    Server *m_server = nullptr;
    lumd::Config m_config;
    std::unique_ptr<lumd::Host> m_host;
    lu_plugin_context m_context = {};
    bool m_loaded = false;
};

/// Collects the plug-in's log lines, debug lines too, while it lives. "warning: text".
class LogLines
{
public:
    LogLines();
    ~LogLines();
    static QStringList take();
};

/// A notification as the server holds it, one property a line, each hint with its type:
/// "summary=Hello", "hint urgency=uchar 1".
QStringList describe(const DesktopNotification &notification);

/// The plug-in's exported descriptor.
lu_plugin_def *pluginDefinition();
