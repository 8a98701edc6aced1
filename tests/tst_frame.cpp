#include "server.h"
#include "world.h"

#include <QtTest/QtTest>

class FrameTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void descriptor()
    {
        const lu_plugin_def *const definition = pluginDefinition();
        QCOMPARE(definition->version, 0x00010000U);
        QCOMPARE(definition->name, "kavrel");
        QCOMPARE(definition->type, "notifications");
        QCOMPARE(definition->vendor, "Velmo");
        QCOMPARE(definition->reserved, 0U);
    }

    void unloadingANullInstanceDoesNothing()
    {
        lu_plugin_context context = {};
        pluginDefinition()->unload(&context);
    }

    void initAndDeinitDoNothing()
    {
        World world;
        world.add(R"({"key":"k","title":"t"})");
        world.host->init();
        world.host->deinit();
        QCOMPARE(world.only().summary, QStringLiteral("t"));
    }

    void hostWithoutConfiguration()
    {
        lumd::Host host(nullptr);
        World world(World::Options{{}, true, "none", false});
        lu_plugin_context context = {host.handle(), nullptr};
        QCOMPARE(pluginDefinition()->load(&context), 0);
        QVERIFY(host.hasPlugin());
        pluginDefinition()->unload(&context);
        QVERIFY(!host.hasPlugin());
    }

    void callbacksLiveFromLoadToUnload()
    {
        World world;
        QVERIFY(world.host->hasPlugin());
        world.unload();
        QVERIFY(!world.host->hasPlugin());
        world.add(R"({"key":"k"})");
        QVERIFY(world.desktop().isEmpty());
    }

    void unloadingClearsWithoutTellingTheHost()
    {
        World world;
        world.add(R"({"key":"a"})");
        world.add(R"({"key":"b"})");
        world.unload();
        QVERIFY(world.desktop().isEmpty());
        QVERIFY(world.told.isEmpty());
    }

    void loadingClearsWhatAnEarlierRunLeft()
    {
        World world;
        world.add(R"({"key":"mine"})");
        const DesktopNotification left = world.only();
        world.unload();
        world.onServer([&left](Server &server) {
            const auto notify = [&server](const DesktopNotification &n) {
                server.Notify(n.appName, 0, n.appIcon, n.summary, n.body, n.actions, n.hints, n.expireTimeout);
            };
            notify(left);
            DesktopNotification foreign = left;
            foreign.summary = QStringLiteral("another program's");
            foreign.hints.insert(protocol::ownerHint(), QStringLiteral("someone"));
            notify(foreign);
        });
        QVERIFY(QDir().mkpath(world.cachePath() + QStringLiteral("/old/icon.png")));
        world.load();
        QCOMPARE(world.only().summary, QStringLiteral("another program's"));
        QVERIFY(QDir(world.cachePath()).isEmpty());
        QVERIFY(world.told.isEmpty());
    }

    void address_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QStringList>("expected");
        const QString start = QStringLiteral("debug: Starting notification plugin.");
        const QString refused = QStringLiteral("critical: Could not set p2p dbus connection");
        QTest::newRow("empty") << QByteArray() << QStringList{start};
        QTest::newRow("dead") << QByteArray("unix:path=/nonexistent/bus")
                              << QStringList{start,
                                             QStringLiteral("debug: P2P dbus connection "
                                                            "\"unix:path=/nonexistent/bus\" failed"),
                                             refused};
        QTest::newRow("malformed") << QByteArray("nonsense\xff")
                                   << QStringList{
                                          start, QStringLiteral("debug: P2P dbus connection \"nonsense\uFFFD\" failed"),
                                          refused};
    }
    /// Whatever the environment names, loading succeeds, and adding neither crashes nor stalls.
    void address()
    {
        QFETCH(QByteArray, address);
        const LogLines log;
        World world(World::Options{{}, false, address, true});
        QTEST(LogLines::take(), "expected");
        world.add(R"({"key":"k","title":"t"})");
        world.host->clear();
        QVERIFY(world.told.isEmpty());
    }

    void connected()
    {
        const LogLines log;
        World world;
        QCOMPARE(LogLines::take().value(1), QStringLiteral("debug: P2P dbus connection \"%1\" successful")
                                                .arg(QString::fromUtf8(qgetenv("LUMD_P2P_DBUS_ADDRESS"))));
    }

    void onlyWarningsByDefault()
    {
        const LogLines log;
        QLoggingCategory::setFilterRules(QString());
        World world;
        world.add(R"({"key":"k","color":5})");
        QCOMPARE(LogLines::take(), QStringList());
    }
};

QTEST_GUILESS_MAIN(FrameTest)
#include "tst_frame.moc"
