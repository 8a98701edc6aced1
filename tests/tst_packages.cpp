#include "server.h"
#include "world.h"

#include <QtTest/QtTest>

/// Package results and the progress of optimisation.
class PackagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void result_data();
    void result();
    void optimisation();
    void optimisationEndsWith_data();
    void optimisationEndsWith();
};

void PackagesTest::result_data()
{
    QTest::addColumn<bool>("install");
    QTest::addColumn<QList<uint>>("fields"); // besides application name and code
    QTest::addColumn<qint64>("code");
    QTest::addColumn<QString>("preview");
    const auto row = [](const char *name, bool install, const QList<uint> &fields, qint64 code, const char *preview) {
        QTest::newRow(name) << install << fields << code << QString(preview);
    };
    const QList<uint> all = {0x41, 0x51, 0x61, 0x71};
    row("installation", true, all, 0, "f41: f61/");
    row("failed installation", true, all, -3, "f41: f61/f71");
    row("code in the upper half", true, all, 1LL << 32, "f41: f61/f71");
    row("uninstallation", false, all, 0, "f41: f51/");
    row("failed uninstallation", false, all, 1, "f41: f51/f71");
    row("no detail", true, {0x41, 0x51}, 1, "f41/");
    row("no headline", false, {0x51}, 0, ": f51/");
    row("nothing", true, {}, 1, "/");
}

void PackagesTest::result()
{
    QFETCH(bool, install);
    QFETCH(QList<uint>, fields);
    QFETCH(qint64, code);
    QFETCH(QString, preview);
    World world;
    const lumd::Record record =
        lumd::newRecord(install ? lumd::installationResultRecord : lumd::uninstallationResultRecord);
    lumd::setString(record.get(), 0x31, "Tuner");
    lumd::setInt(record.get(), 0x02, code);
    for (const uint field : fields) {
        lumd::setString(record.get(), field, "f" + QByteArray::number(field, 16).toStdString());
    }
    install ? world.host->installationResult(record.get()) : world.host->uninstallationResult(record.get());
    const DesktopNotification shown = world.only();
    QCOMPARE(shown.appName, QString("Tuner"));
    QCOMPARE(shown.appIcon, QString("icon-s-android"));
    QCOMPARE(shown.hints.value("image-path").toString(), QString("icon-s-android"));
    QCOMPARE(shown.hints.value("transient").toBool(), install);
    QCOMPARE(shown.hints.value(protocol::previewSummaryHint()).toString() + '/' +
                 shown.hints.value(protocol::previewBodyHint()).toString(),
             preview);
    QVERIFY(!shown.hints.contains("x-vorn-origin-key"));
    world.onServer([&shown](Server &server) { server.Dismiss(shown.id); });
    world.settle();
    QCOMPARE(world.told, QStringList());
}

void PackagesTest::optimisation()
{
    World world;
    world.host->dexoptNotify(nullptr, "nothing yet", 0);
    world.host->dexoptNotify("", "nothing yet", 0);
    QVERIFY(world.desktop().isEmpty());

    world.host->dexoptNotify("Optimising", "1 of 2", 0.5);
    const QStringList seen = describe(world.only());
    for (const char *property :
         {"summary=Optimising", "body=1 of 2", "appName=Orvix", "appIcon=icon-s-android", "hint resident=bool true",
          "hint x-vorn-user-removable=bool false", "hint x-vorn-progress=double 0.5"}) {
        QVERIFY2(seen.contains(property), property);
    }
    const uint id = world.only().id;
    world.host->dexoptNotify("Optimising", nullptr, 1.0);
    world.host->dexoptNotify("Optimising", nullptr, -7.25);
    QCOMPARE(world.only().id, id);
    QCOMPARE(world.only().body, QString());
    QCOMPARE(world.only().hints.value(protocol::progressHint()).toDouble(), -7.25);
    QCOMPARE(world.notifies.size(), 3);
}

void PackagesTest::optimisationEndsWith_data()
{
    QTest::addColumn<QString>("end");
    QTest::newRow("empty summary") << "empty summary";
    QTest::newRow("clear") << "clear";
    QTest::newRow("unload") << "unload";
}

void PackagesTest::optimisationEndsWith()
{
    QFETCH(QString, end);
    World world;
    world.host->dexoptNotify("Optimising", "", 0.1);
    const uint id = world.only().id;
    if (end == "clear") {
        world.host->clear();
    } else if (end == "unload") {
        world.unload();
        world.load();
    } else {
        world.host->dexoptNotify("", "", 0.2);
    }
    QVERIFY(world.desktop().isEmpty());
    world.host->dexoptNotify("Again", "", 0.1);
    QVERIFY(world.only().id != id);
    QCOMPARE(world.told, QStringList());
}

QTEST_GUILESS_MAIN(PackagesTest)
#include "tst_packages.moc"
