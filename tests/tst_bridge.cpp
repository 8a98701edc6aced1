// SPDX-License-Identifier: MIT
#include "tests/world.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QLoggingCategory>
#include <QtCore/QSemaphore>

/// Loading and unloading, what comes back from the desktop, and a server that fails.
class BridgeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hostWithoutConfiguration()
    {
        const lu_plugin_def *const plugin = pluginDefinition();
        QCOMPARE(QStringList({plugin->name, plugin->type, plugin->vendor}).join(' '), "kavrel notifications Velmo");
        QCOMPARE((QList<uint>{plugin->version, plugin->reserved}), (QList<uint>{0x00010000, 0}));
        World world;
        world.unload();
        lumd::Host host(nullptr);
        lu_plugin_context context = {host.handle(), nullptr};
        QCOMPARE(plugin->load(&context), 0);
        host.init();
        host.deinit();
        host.add(lumd::newRecord(lumd::notificationRecord).get());
        QCOMPARE(world.desktop().size(), 1);
        plugin->unload(&context);
        QVERIFY(!host.hasPlugin());
    }

    void unloadingAndLoadingClear()
    {
        World world;
        world.play({});
        const QVariantMap hints = world.only().hints;
        world.unload();
        QVERIFY(world.desktop().isEmpty());
        world.onServer([hints](Server &server) { // what an earlier run left, and another program's
            QVariantMap foreign = hints;
            foreign.insert(protocol::hint::owner(), "someone");
            server.Notify({}, 0, {}, "mine", {}, {}, hints, -1);
            server.Notify({}, 0, {}, "another's", {}, {}, foreign, -1);
        });
        QVERIFY(QDir().mkpath(world.cachePath() + "/old/icon.png"));
        world.load();
        QCOMPARE(world.only().summary, "another's");
        QVERIFY(QDir(world.cachePath()).isEmpty());
        QCOMPARE(world.told, QStringList());
    }

    void unloadWhileRemovalIsPending()
    {
        World world;
        world.play({});
        world.host->remove("k");
        world.unload();
        QVERIFY(world.desktop().isEmpty());
        bool due = false;
        QTimer::singleShot(std::chrono::milliseconds(500), Qt::PreciseTimer, &world, [&due] { due = true; });
        QTRY_VERIFY(due); // the removal's own timer would have fired before
        QCOMPARE(world.told, QStringList());
    }

    /// Whatever address the environment names, loading succeeds, and adding goes on.
    void address()
    {
        const char *const addresses[] = {nullptr, "", "unix:path=/nonexistent/bus", "nonsense\xff"};
        for (const char *const address : addresses) {
            World world({}, address);
            QString log = "debug: Starting notification plugin.";
            const QString used = QString::fromUtf8(qgetenv("LUMD_P2P_DBUS_ADDRESS"));
            if (!used.isEmpty()) {
                log += "\ndebug: P2P dbus connection \"" + used + "\" " +
                       (address ? "failed\ncritical: Could not set p2p dbus connection" : "successful");
            }
            QCOMPARE(world.log.join('\n'), log);
            world.play(R"("title":"t")");
            world.host->clear();
        }
    }

    void actionName()
    {
        World world;
        world.play(R"("key":"ключ")");
        for (const QString name : {"default", "a|b|c", "a|", "|x", "a||", "Да!|№", ""}) {
            world.log.clear();
            world.told.clear();
            for (int times = 0; times < 2; ++times) {
                world.onServer([&name](Server &server) { Q_EMIT server.ActionInvoked(1, name); });
            }
            world.settle();
            const QString told = "action ключ " + (name == "a|" ? "a" : name);
            QCOMPARE(world.told, (QStringList{told, told}));
            QCOMPARE(world.log.mid(2), (QStringList{"debug: actionInvoked 1",
                                                    "debug: Opening notification \"ключ\" with \"" + name + '"'}));
        }
    }

    /// Such a notification is shown, but its fate is not told; it is shown anew after the server has lost it.
    void emptyKey()
    {
        World world;
        world.play(R"("key":"","title":"one","clearable":true,"actions":[{"title":"default"}])");
        world.log.clear();
        world.onServer([](Server &server) { server.Invoke(1, "default"); });
        QVERIFY(world.desktop().isEmpty());
        QCOMPARE(world.log, (QStringList{"debug: actionInvoked 1", "warning: Notification received with empty key",
                                         "debug: Notification 1 closed because 2",
                                         "warning: Notification received with empty key"}));
        world.host->add(lumd::newRecord(lumd::notificationRecord).get());
        QCOMPARE(world.seen("summary=; x-vorn-origin-key="), "summary=; x-vorn-origin-key=");
        QCOMPARE(world.told, QStringList());
    }

    void residentStaysAfterAnAction()
    {
        World world;
        world.play(R"("clearable":true,"actions":[{"title":"Archive","identifier":"7"}])");
        world.play(R"("key":"resident","ongoing":true,"actions":[{"title":"Pause","identifier":"1"}])");
        world.onServer([](Server &server) {
            server.Invoke(1, "Archive|7");
            server.Invoke(2, "Pause|1");
        });
        QCOMPARE(world.only().id, 2U);
        QCOMPARE(world.told, (QStringList{"action k Archive|7", "removed k", "action resident Pause|1"}));
    }

    /// The reason matters to nobody but the log.
    void closed()
    {
        for (const uint reason : {0U, 2U, 4294967295U}) {
            World world;
            world.play({});
            world.log.clear();
            world.onServer([reason](Server &server) {
                Q_EMIT server.NotificationClosed(1, reason);
                Q_EMIT server.NotificationClosed(1, reason);
            });
            world.settle();
            QCOMPARE(world.log, QStringList{QString("debug: Notification 1 closed because %1").arg(reason)});
            QCOMPARE(world.told, QStringList{"removed k"});
        }
    }

    void removalIsLoggedForDebuggingOnly()
    {
        World world;
        world.log.clear();
        world.host->remove("un\"known");
        world.host->remove(nullptr);
        QLoggingCategory::setFilterRules({});
        world.host->remove("k");
        QCOMPARE(world.log, (QStringList{"debug: plugin removeNotification key: \"un\\\"known\"",
                                         "debug: plugin removeNotification key: \"\""}));
    }

    void serverDies()
    {
        World world;
        world.play({});
        world.stopServer();
        for (int i = 0; i < 100; ++i) {
            world.play(QString(R"("title":"%1")").arg(i).toUtf8());
        }
        world.host->clear();
        world.host->remove("k");
        world.settle();
        QCOMPARE(world.told, QStringList());
    }

    /// The first publish waits its bounded time, later ones do not. Whatever happens to a key meanwhile ends, once the
    /// server goes on, in one notification whose fate is told.
    void serverHangs()
    {
        World world;
        world.play(R"("key":"before")");
        QSemaphore goOn;
        world.onServer([&goOn](Server &server) {
            QMetaObject::invokeMethod(
                &server, [&goOn] { goOn.acquire(); }, Qt::QueuedConnection);
        });
        QElapsedTimer timer;
        timer.start();
        for (const char *const title : {"1", "2", "3"}) {
            for (const char *const key : {"before", "new", "removed"}) {
                world.play(QString(R"("key":"%1","title":"%2")").arg(key, title).toUtf8());
            }
            world.host->dexoptNotify(title, "", 0.5);
        }
        world.host->remove("removed");
        const qint64 elapsed = timer.elapsed();
        bool due = false; // the removal's timer, armed before, has fired by then
        QTimer::singleShot(std::chrono::milliseconds(500), Qt::PreciseTimer, &world, [&due] { due = true; });
        QTRY_VERIFY(due);
        goOn.release();
        QVERIFY2(elapsed < 4000, qPrintable(QString("held up for %1 ms").arg(elapsed)));
        QTRY_COMPARE(world.desktop().size(), 3);
        QStringList shown;
        for (const DesktopNotification &notification : world.desktop()) {
            shown.append(notification.hints["x-vorn-origin-key"].toString() + notification.summary);
            world.onServer([id = notification.id](Server &server) {
                Q_EMIT server.ActionInvoked(id, "a");
                Q_EMIT server.NotificationClosed(id, 2);
            });
        }
        world.settle();
        QCOMPARE(shown, (QStringList{"before3", "new3", "3"}));
        QCOMPARE(world.told, (QStringList{"action before a", "removed before", "action new a", "removed new"}));
    }
};

QTEST_GUILESS_MAIN(BridgeTest)
#include "tst_bridge.moc"
