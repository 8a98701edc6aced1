#include "alert/alertcommand.h"
#include "world.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QTextCodec>
#include <QtCore/QThreadPool>
#include <QtTest/QtTest>

#include <thread>

namespace
{

QString contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class AlertsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); }
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }
    void environment_data();
    void environment();
    void whichNotificationsAlert();
    void oneAtATimeInOrder();
    void commandThatCannotStart_data();
    void commandThatCannotStart();
    void faultyRuns();
    void slowCommandsAreKilled();
    void unloadWhileRunning();

private:
    /// The configuration with an alert command that runs a shell script; `out` in it is a file.
    std::string config(const QByteArray &script)
    {
        QFile file(m_directory->filePath("alert.sh"));
        file.open(QIODevice::WriteOnly);
        file.write("out='" + out().toUtf8() + "'\n" + script);
        return "[Notifications]\nNotifAlertCommand = /bin/sh \"" + file.fileName().toStdString() + "\"\n";
    }
    QString out() const { return m_directory->filePath("out"); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

void AlertsTest::environment_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("expected");
    QTest::newRow("all") << R"({"key":"k","importance":3,"title":"Ada","package":"org.example","appName":"Chat",
                               "text":"Hi","subText":"Work","category":"msg"})"
                         << "Ada|org.example|Chat|Hi|Work|msg|kept";
    QTest::newRow("nothing but the title") << R"({"key":"k","importance":3,"title":"Ada"})"
                                           << "Ada||||||kept";
    QTest::newRow("never interpreted")
        << R"({"key":"k","importance":4,"title":"$(touch /tmp/x) `id` \"q\" 'q' \\ %n","text":"two\nlines ✓ é 日本"})"
        << "$(touch /tmp/x) `id` \"q\" 'q' \\ %n|||two\nlines ✓ é 日本|||kept";
}

void AlertsTest::environment()
{
    QFETCH(QString, json);
    qputenv("TITLE", "inherited");
    qputenv("OTHER", "kept");
    World world(config(R"(printf '%s|%s|%s|%s|%s|%s|%s' "${TITLE?}" "${PACKAGE_NAME?}" "${APP_NAME?}" \
        "${BODY?}" "${SUBTEXT?}" "${CATEGORY?}" "$OTHER" >"$out.new" && mv "$out.new" "$out")"));
    world.add(json.toUtf8());
    QTRY_VERIFY(QFile::exists(out()));
    QTEST(contents(out()), "expected");
}

void AlertsTest::whichNotificationsAlert()
{
    World world(config(R"(echo "$TITLE" >>"$out")"));
    const auto add = [&world](const char *title, int importance, bool lowUrgency = false) {
        world.add(QString(R"({"key":"k","title":"%1","importance":%2,"lowUrgency":%3})")
                      .arg(title)
                      .arg(importance)
                      .arg(lowUrgency ? "true" : "false")
                      .toUtf8());
    };
    add("low", 1);
    add("low but flagged", 1, true);
    add("normal", 2);
    add("normal", 2);
    add("changed", 2);
    add("critical", 4);
    add("low again", 0);
    add("last", 3);
    QTRY_COMPARE(contents(out()), QString("low but flagged\nnormal\nchanged\ncritical\nlast\n"));
}

void AlertsTest::oneAtATimeInOrder()
{
    World world(config(R"(mkdir "$out.running" || echo overlap >>"$out"
                                     echo "$TITLE" >>"$out"; rmdir "$out.running")"));
    QString expected;
    for (int i = 0; i < 60; ++i) {
        world.add(QString(R"({"key":"%1","title":"%2","importance":3})").arg(i % 7).arg(i).toUtf8());
        expected += QString("%1\n").arg(i);
    }
    QTRY_COMPARE_WITH_TIMEOUT(contents(out()), expected, 30000);
}

void AlertsTest::commandThatCannotStart_data()
{
    QTest::addColumn<QString>("command");
    for (const char *command : {"/nonexistent/command", "/etc/passwd", "/", " ", "\"", "sh -c \"exit 3"}) {
        QTest::newRow(command) << QString(command);
    }
}

void AlertsTest::commandThatCannotStart()
{
    QFETCH(QString, command);
    QElapsedTimer timer;
    timer.start();
    runAlertCommand("t", {}, {}, {}, {}, {}, command.toStdString());
    QVERIFY(timer.elapsed() < 20000);
}

/// Whatever becomes of a run, the next one starts.
void AlertsTest::faultyRuns()
{
    World world(config(R"(echo "$TITLE" >>"$out"
        case $TITLE in
        fails) exit 3 ;;
        killed) kill -9 $$ ;;
        floods) head -c 100000000 /dev/zero; head -c 1000000 /dev/zero >&2 ;;
        forks) sleep 20 & ;;
        esac)"));
    QString expected;
    for (const char *title : {"fails", "killed", "floods", "forks", "last"}) {
        world.add(QString(R"({"key":"k","title":"%1","importance":3})").arg(title).toUtf8());
        expected += QString("%1\n").arg(title);
    }
    QTRY_COMPARE_WITH_TIMEOUT(contents(out()), expected, 18000);
}

void AlertsTest::slowCommandsAreKilled()
{
    const QString sleeper = QString("sh -c \"sleep 120; touch %1\"").arg(out());
    const QString reader = QString("sh -c \"read line; touch %1\"").arg(out());
    QElapsedTimer timer;
    timer.start();
    std::thread other([&] { runAlertCommand({}, {}, {}, {}, {}, {}, reader.toStdString()); });
    runAlertCommand({}, {}, {}, {}, {}, {}, sleeper.toStdString());
    other.join();
    QVERIFY2(timer.elapsed() >= 29000 && timer.elapsed() < 60000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(!QFile::exists(out()));
}

void AlertsTest::unloadWhileRunning()
{
    QElapsedTimer timer;
    {
        World world(config(R"(echo "$TITLE" >>"$out"; while [ ! -e "$out.go" ]; do sleep 0.01; done
                                         echo done >>"$out")"));
        world.add(R"({"key":"a","title":"first","importance":3})");
        world.add(R"({"key":"b","title":"never","importance":3})");
        QTRY_COMPARE(contents(out()), QString("first\n"));
        timer.start();
        world.unload();
        QVERIFY(timer.elapsed() < 5000);
    }
    QVERIFY(QFile(out() + ".go").open(QIODevice::WriteOnly));
    QVERIFY(QThreadPool::globalInstance()->waitForDone(20000));
    QCoreApplication::processEvents();
    QCOMPARE(contents(out()), QString("first\ndone\n"));
}

QTEST_GUILESS_MAIN(AlertsTest)
#include "tst_alerts.moc"
