// SPDX-License-Identifier: MIT
#pragma once

#include "standins/config-parser/configparser.h"
#include "standins/lumd/host.h"
#include "tools/harness/loadedplugin.h"
#include "tools/harness/record.h"
#include "tools/harness/serverthread.h"
#include "tools/harness/settle.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <functional>

/// A host with the real plug-in loaded, and a real notification server in a thread of its own at the other end of a
/// real peer connection. Everything is private to the test and ends with it. Misused and leaked host records fail the
/// test. The server's identifiers begin with 1.
class Fixture
{
public:
    /// `config` is INI text, empty for a host without a configuration. `address`, if not null, replaces the server's in
    /// the environment.
    explicit Fixture(const std::string &config = {}, const char *address = nullptr);
    ~Fixture();
    void load() { QCOMPARE(m_plugin.load(host.get()), 0); }
    void unload() { m_plugin.unload(); }

    /// The host adds a notification.
    void add(const QByteArray &key, Fields fields = {}) const;
    /// Runs `work` on the server's thread, and settles.
    void onServer(const std::function<void(Server &)> &work)
    {
        m_server->run(work);
        settle();
    }
    /// Returns when all calls have arrived and all arrivals are handled. Timers do not fire.
    void settle() { ::settle(QDBusConnection("peerconnection")); }

    /// Returns the events since the last call: lines of the log ("warning: text"), reports to the host ("told: removed
    /// KEY", "told: action KEY TITLE|IDENTIFIER"), and notifications on the server ("shown ID", "replaced ID").
    QStringList happened()
    {
        settle();
        return std::exchange(events, {});
    }
    /// Returns the notifications on the desktop.
    QList<DesktopNotification> desktop()
    {
        QList<DesktopNotification> list;
        settle();
        onServer([&list](const Server &server) { list = server.notifications(); });
        return list;
    }
    /// The properties of the only notification, by their names on the bus.
    QVariantMap only();

    QString cachePath() const { return m_directory.path() + "/lumd/notif"; }
    QStringList cacheFiles() const { return QDir(cachePath()).entryList(QDir::Files | QDir::Hidden); }

    std::unique_ptr<lumd::Host> host;
    inline static QStringList events; ///< see `happened`

private:
    const QByteArray m_oldTmpdir = qgetenv("TMPDIR");
    const QTemporaryDir m_directory;
    std::unique_ptr<ServerThread> m_server = std::make_unique<ServerThread>();
    const lumd::Config m_config;
    LoadedPlugin m_plugin{KAVREL_PLUGIN};
};

/// Properties with their types, one a line.
QStringList described(const QVariantMap &properties);
QString contents(const QString &path);

/// Names the test's rows, structures that begin with a name; `row` is their number.
template <typename Row, size_t Count> void nameRows(const Row (&rows)[Count])
{
    QTest::addColumn<size_t>("row");
    for (size_t i = 0; i < Count; ++i) {
        QTest::newRow(rows[i].name) << i;
    }
}
