#include "server.h"
#include "world.h"

#include <QtTest/QtTest>

/// What comes back from the desktop: actions, dismissals, and the removals that the host asks for.
class FeedbackTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void actionName_data();
    void actionName();
    void emptyKey();
    void actionThenClose();
    void residentStays();
    void closed_data();
    void closed();
    void removalLogsTheKey();
    void unloadWhileRemovalIsPending();
};

void FeedbackTest::actionName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("told");
    const auto row = [](const char *name, const char *told) { QTest::newRow(name) << QString(name) << QString(told); };
    row("default", "action ключ default");
    row("reply|abc", "action ключ reply|abc");
    row("a|b|c", "action ключ a|b|c");
    row("a|", "action ключ a");
    row("|x", "action ключ |x");
    row("a||", "action ключ a||");
    row("Да \"!\"|№", "action ключ Да \"!\"|№");
    row("", "action ключ ");
}

void FeedbackTest::actionName()
{
    QFETCH(QString, name);
    const LogLines log;
    World world;
    world.add(R"({"key":"ключ"})");
    const uint id = world.only().id;
    LogLines::take();
    for (int times = 0; times < 2; ++times) {
        world.onServer([&](Server &server) { Q_EMIT server.ActionInvoked(id, name); });
    }
    world.settle();
    QTEST(world.told.value(0), "told");
    QTEST(world.told.value(1), "told");
    QCOMPARE(world.told.size(), 2);
    const QStringList lines = LogLines::take();
    QCOMPARE(lines.value(0), QString("debug: actionInvoked %1").arg(id));
    QString streamed;
    QDebug(&streamed) << "Opening notification" << QString("ключ") << "with" << name;
    QCOMPARE(lines.value(1), "debug: " + streamed.trimmed());
    QCOMPARE(world.desktop().size(), 1);
}

void FeedbackTest::emptyKey()
{
    const LogLines log;
    World world;
    world.add(R"({"title":"without a key","clearable":true,"actions":[{"title":"default"}]})");
    const uint id = world.only().id;
    LogLines::take();
    world.onServer([id](Server &server) { server.Invoke(id, "default"); });
    world.settle();
    QCOMPARE(LogLines::take(),
             (QStringList{QString("debug: actionInvoked %1").arg(id), "warning: Notification received with empty key",
                          QString("debug: Notification %1 closed because 2").arg(id),
                          "warning: Notification received with empty key"}));
    QCOMPARE(world.told, QStringList());
}

void FeedbackTest::actionThenClose()
{
    World world;
    world.add(R"({"key":"k","clearable":true,"actions":[{"title":"Archive","identifier":"7"}]})");
    const uint id = world.only().id;
    world.onServer([id](Server &server) { server.Invoke(id, "Archive|7"); });
    world.settle();
    QCOMPARE(world.told, (QStringList{"action k Archive|7", "removed k"}));
}

void FeedbackTest::residentStays()
{
    World world;
    world.add(R"({"key":"k","ongoing":true,"actions":[{"title":"Pause","identifier":"1"}]})");
    const uint id = world.only().id;
    world.onServer([id](Server &server) { server.Invoke(id, "Pause|1"); });
    world.settle();
    QCOMPARE(world.told, QStringList{"action k Pause|1"});
    QCOMPARE(world.only().id, id);
}

void FeedbackTest::closed_data()
{
    QTest::addColumn<uint>("reason");
    for (const uint reason : {0U, 1U, 2U, 3U, 4294967295U}) {
        QTest::addRow("%u", reason) << reason;
    }
}

/// The reason matters to nobody but the log.
void FeedbackTest::closed()
{
    QFETCH(uint, reason);
    const LogLines log;
    World world;
    world.add(R"({"key":"k"})");
    const uint id = world.only().id;
    LogLines::take();
    world.onServer([&](Server &server) { Q_EMIT server.NotificationClosed(id, reason); });
    world.onServer([&](Server &server) { Q_EMIT server.NotificationClosed(id, reason); });
    world.settle();
    QCOMPARE(LogLines::take(), QStringList{QString("debug: Notification %1 closed because %2").arg(id).arg(reason)});
    QCOMPARE(world.told, QStringList{"removed k"});
}

void FeedbackTest::removalLogsTheKey()
{
    const LogLines log;
    World world;
    LogLines::take();
    world.host->remove("un\"known");
    world.host->remove(nullptr);
    QCOMPARE(LogLines::take(), (QStringList{"debug: plugin removeNotification key: \"un\\\"known\"",
                                            "debug: plugin removeNotification key: \"\""}));
    QCOMPARE(world.told, QStringList());
}

void FeedbackTest::unloadWhileRemovalIsPending()
{
    World world;
    world.add(R"({"key":"k"})");
    world.host->remove("k");
    world.unload();
    QVERIFY(world.desktop().isEmpty());
    bool due = false;
    QTimer::singleShot(std::chrono::milliseconds(500), Qt::PreciseTimer, &world, [&due] { due = true; });
    QTRY_VERIFY(due); // the removal's own timer would have fired before
    QCOMPARE(world.told, QStringList());
}

QTEST_GUILESS_MAIN(FeedbackTest)
#include "tst_feedback.moc"
