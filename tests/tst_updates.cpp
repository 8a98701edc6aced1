#include "server.h"
#include "world.h"

#include <QtTest/QtTest>

/// One live notification for each key: replaced in place when its visible content changed, and cleared.
class UpdatesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void update_data();
    void update();
    void sameRecordTwice();
    void keysAreExact();
    void addAgainAfterTheServerLostIt();
    void clearReportsWhatWasRegistered();
};

void UpdatesTest::update_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QString>("logged"); // empty: not published again
    const auto row = [](const char *name, const char *first, const char *second, const char *logged = "") {
        QTest::newRow(name) << QByteArray(first) << QByteArray(second) << QString(logged);
    };
    row("title", R"("title":"Tea \"now\"")", R"("title":"Coffee")", R"(summary "Coffee" "Tea \"now\"")");
    row("text", R"("text":"one")", R"("text":"One")", R"(body "One" "one")");
    row("item count", R"("itemCount":1)", R"("itemCount":2)", "itemCount 2 1");
    row("importance", R"("importance":3)", R"("importance":4)", R"(priority "100" "75")");
    row("importance within low urgency", R"("importance":0)", R"("importance":1)", R"(priority "25" "0")");
    const char *const was = R"("actions":[{"title":"A","identifier":"1"},{"title":"B","identifier":"2"}])";
    row("one action more", R"("actions":[{"title":"A","identifier":"1"}])", was, "-");
    row("actions in another order", was, R"("actions":[{"title":"B","identifier":"2"},{"title":"A","identifier":"1"}])",
        "-");
    row("an action's title", was, R"("actions":[{"title":"A","identifier":"1"},{"title":"C","identifier":"2"}])", "-");
    row("an action's identifier", was, R"("actions":[{"title":"A","identifier":"1"},{"title":"B","identifier":"3"}])",
        "-");
    row("same actions", was, was);
    row("sub-text", R"("subText":"a")", R"("subText":"b")");
    row("application", R"("appName":"a")", R"("appName":"b")");
    row("category", R"("category":"msg")", R"("category":"email")");
    row("colour", R"("color":1)", R"("color":2)");
    row("timestamp", R"("timestamp":1)", R"("timestamp":2)");
    row("progress", R"("progressMax":9,"progress":1)", R"("progressMax":9,"progress":2)");
    row("ongoing", R"("ongoing":true)", R"("ongoing":false)");
    row("low urgency", R"("lowUrgency":true)", R"("lowUrgency":false)");
}

void UpdatesTest::update()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(QString, logged);
    World world;
    const LogLines log;
    world.add(R"({"key":"k","clearable":true,)" + first + "}");
    const DesktopNotification before = world.only();
    QCOMPARE(LogLines::take().last(), QString("debug: Published notification  \"k\"  as  %1  with importance %2")
                                          .arg(before.id)
                                          .arg(first.contains("\"importance\":3") ? 3 : 0));
    world.add(R"({"key":"k","clearable":true,)" + second + "}");
    const DesktopNotification after = world.only();
    QCOMPARE(after.id, before.id);

    QStringList lines = LogLines::take().filter(QRegularExpression("^debug: (?!notif colour)"));
    const QString start = QString("debug: Notification  %1  ( \"k\" ").arg(before.id);
    if (logged.isEmpty()) {
        QCOMPARE(lines, (QStringList{start + ") unchanged", "debug: Not publishing unchanged notification  \"k\""}));
        QCOMPARE(world.notifies.size(), 1);
        QCOMPARE(describe(after), describe(before));
    } else {
        if (logged != "-") {
            QCOMPARE(lines.takeFirst(), "debug: " + logged);
        }
        QCOMPARE(lines.takeFirst(), start + ") was changed");
        QVERIFY(lines.takeFirst().startsWith("debug: Published notification  \"k\"  as  "));
        QCOMPARE(lines, QStringList());
        QCOMPARE(world.replacements, (QList<bool>{false, true}));
        QVERIFY(describe(after) != describe(before) || after.hints != before.hints);
    }
}

void UpdatesTest::sameRecordTwice()
{
    World world;
    for (int i = 0; i < 3; ++i) {
        world.add(R"({"key":"k","title":"t","text":"x","itemCount":2,"actions":[{"title":"default"}]})");
    }
    world.settle();
    QCOMPARE(world.notifies.size(), 1);
}

void UpdatesTest::keysAreExact()
{
    World world;
    const QStringList keys = {"k", "K", "k|1", "k/1", "", "0|org.example|7|\u0442\u0435\u0433|10001"};
    for (const QString &key : keys) {
        world.add(QString(R"({"key":"%1","title":"%1"})").arg(key).toUtf8());
    }
    QStringList shown;
    for (const DesktopNotification &notification : world.desktop()) {
        QCOMPARE(notification.hints.value("x-vorn-origin-key").toString(), notification.summary);
        shown.append(notification.summary);
    }
    QCOMPARE(shown, keys);
}

/// The server may forget a notification without the plug-in noticing; an update then shows it anew.
void UpdatesTest::addAgainAfterTheServerLostIt()
{
    World world;
    world.add(R"({"key":"","title":"one"})"); // closes of an empty key are not handled
    const uint id = world.only().id;
    world.onServer([id](Server &server) { server.CloseNotification(id); });
    QVERIFY(world.desktop().isEmpty());
    world.add(R"({"key":"","title":"two"})");
    QCOMPARE(world.only().summary, QString("two"));
    QVERIFY(world.told.isEmpty());
}

void UpdatesTest::clearReportsWhatWasRegistered()
{
    World world;
    world.add(R"({"key":"a","title":"t"})");
    world.add(R"({"key":"b","title":"t"})");
    world.host->clear();
    QVERIFY(world.desktop().isEmpty());
    world.told.sort();
    QCOMPARE(world.told, (QStringList{"removed a", "removed b"}));
    world.add(R"({"key":"a","title":"t"})");
    QCOMPARE(world.only().summary, QString("t"));
}

QTEST_GUILESS_MAIN(UpdatesTest)
#include "tst_updates.moc"
