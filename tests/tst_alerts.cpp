// SPDX-License-Identifier: MIT
#include "alert/alertcommand.h"
#include "tests/world.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QTextCodec>
#include <QtCore/QThreadPool>

#include <climits>
#include <csignal>
#include <dlfcn.h>
#include <filesystem>
#include <sys/syscall.h>
#include <thread>

namespace
{

bool outOfProcesses = false;
int descriptor = 0;     ///< what Qt then takes for the new process's descriptor
bool killedAll = false; ///< whether Qt would have killed all of the user's processes

/// A configuration with a shell script, on one line, as the alert command. Its "$TMPDIR" is the test's own.
std::string config(QByteArray script)
{
    return "[Notifications]\nNotifAlertCommand = sh -c \"" + script.replace('"', QByteArray(3, '"')).toStdString() +
           "\"\n";
}

QString out() { return contents(qgetenv("TMPDIR") + "/out"); }

} // namespace

// Qt calls these two in place of the C library's.
extern "C" Q_DECL_EXPORT long systemCall(long number, long a, long b, long c, long d, long e, long f) asm("syscall");
long systemCall(long number, long a, long b, long c, long d, long e, long f)
{
    if (number == SYS_clone && outOfProcesses) {
        *reinterpret_cast<int *>(c) = descriptor;
        return -1;
    }
    static const auto next = reinterpret_cast<decltype(&systemCall)>(dlsym(RTLD_NEXT, "syscall"));
    return next(number, a, b, c, d, e, f);
}

extern "C" Q_DECL_EXPORT int kill(pid_t process, int signal) noexcept
{
    killedAll = killedAll || process == -1;
    return process == -1 ? 0 : static_cast<int>(systemCall(SYS_kill, process, signal, 0, 0, 0, 0));
}

class AlertsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); }

    void environment()
    {
        qputenv("SUBTEXT", "inherited");
        qputenv("OTHER", "kept");
        World world(config(R"(printf '%s|%s|%s|%s|%s|%s|%s\n' "${TITLE?}" "${PACKAGE_NAME?}" "${APP_NAME?}" )"
                           R"("${BODY?}" "${SUBTEXT?}" "${CATEGORY?}" "$OTHER" >>"$TMPDIR/out")"));
        world.play(R"("importance":3,"title":"Ada","package":"org.x","appName":"Chat","text":"Hi","category":"msg")");
        world.play(R"("importance":3,"title":"$(id) `id` \\ %n","text":"two\nlines","subText":"✓ é 日本")");
        world.play(R"("importance":3,"title":"\u0022q\u0022 'q'")");
        QTRY_COMPARE(out(), "Ada|org.x|Chat|Hi||msg|kept\n$(id) `id` \\ %n|||two\nlines|✓ é 日本||kept\n"
                            "\"q\" 'q'||||||kept\n");
    }

    void whichNotificationsAlert()
    {
        World world(config(R"(echo "$TITLE" >>"$TMPDIR/out")"));
        for (const char *const members :
             {R"("title":"low","importance":1)", R"("title":"low but flagged","importance":1,"lowUrgency":true)",
              R"("title":"normal","importance":2)", R"("title":"normal","importance":2)",
              R"("title":"changed","importance":2)", R"("title":"critical","importance":4)",
              R"("title":"low again","importance":0)", R"("title":"last","importance":3)"}) {
            world.play(members);
        }
        QTRY_COMPARE(out(), "low but flagged\nnormal\nchanged\ncritical\nlast\n");
    }

    void oneAtATimeInOrder()
    {
        World world(config(R"(mkdir "$TMPDIR/lock" || echo overlap >>"$TMPDIR/out"; )"
                           R"(echo "$TITLE" >>"$TMPDIR/out"; rmdir "$TMPDIR/lock")"));
        QString expected;
        for (int i = 100; i < 160; ++i) {
            world.play(QString(R"("title":"%1","importance":3)").arg(i).toUtf8());
            expected += QString::number(i) + '\n';
        }
        QTRY_COMPARE_WITH_TIMEOUT(out(), expected, 30000);
    }

    void commandThatCannotStart()
    {
        QElapsedTimer timer;
        timer.start();
        for (const char *const command : {"/nonexistent/command", "/etc/passwd", "/", " ", "\"", "sh -c \"exit 3"}) {
            runAlertCommand("t", {}, {}, {}, {}, {}, command);
        }
        QVERIFY(timer.elapsed() < 20000);
    }

    void systemOutOfProcesses()
    {
        QFile hosts("/dev/zero");
        QVERIFY(hosts.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
        const auto run = [](int count, int qtsDescriptor) {
            for (descriptor = qtsDescriptor; count > 0; --count) {
                runAlertCommand({}, {}, {}, {}, {}, {}, "true");
            }
            return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
        };
        QThreadPool::globalInstance()->start([&] {
            const auto before = run(1, 0); // Qt asks once what the kernel can do
            outOfProcesses = true;
            QCOMPARE(run(100, INT_MAX), before);
            run(1, hosts.handle());
        });
        QThreadPool::globalInstance()->waitForDone();
        outOfProcesses = false;
        QVERIFY(!killedAll);
        QVERIFY2(hosts.read(1).size() == 1, "closed a descriptor that was not its own");
    }

    /// Whatever becomes of a run, the next one starts.
    void faultyRuns()
    {
        World world(
            config(R"(echo "$TITLE" >>"$TMPDIR/out"; case $TITLE in fails) exit 3;; killed) kill -9 $$;; )"
                   "floods) head -c 100000000 /dev/zero; head -c 1000000 /dev/zero >&2;; forks) sleep 20& esac"));
        for (const char *const title : {"fails", "killed", "floods", "forks", "last"}) {
            world.play(QString(R"("title":"%1","importance":3)").arg(title).toUtf8());
        }
        QTRY_COMPARE_WITH_TIMEOUT(out(), "fails\nkilled\nfloods\nforks\nlast\n", 18000);
    }

    void slowCommandsAreKilled()
    {
        const QTemporaryDir directory;
        const std::string end = "touch " + directory.filePath("out").toStdString() + '"';
        QElapsedTimer timer;
        timer.start();
        std::thread other([&end] { runAlertCommand({}, {}, {}, {}, {}, {}, "sh -c \"read line; " + end); });
        runAlertCommand({}, {}, {}, {}, {}, {}, "sh -c \"sleep 120; " + end);
        other.join();
        QVERIFY2(timer.elapsed() >= 29000 && timer.elapsed() < 60000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(!QFile::exists(directory.filePath("out")));
    }

    /// Unloading neither waits for the running command nor ends it; what waits for its turn is dropped.
    void unloadWhileRunning()
    {
        World world(config(R"(echo "$TITLE" >>"$TMPDIR/out"; while [ ! -e "$TMPDIR/go" ]; do sleep 0.01; done; )"
                           R"(echo done >>"$TMPDIR/out")"));
        world.play(R"("key":"a","title":"first","importance":3)");
        world.play(R"("key":"b","title":"never","importance":3)");
        QTRY_COMPARE(out(), "first\n");
        QElapsedTimer timer;
        timer.start();
        world.unload();
        QVERIFY(timer.elapsed() < 5000);
        QVERIFY(QFile(qgetenv("TMPDIR") + "/go").open(QIODevice::WriteOnly));
        QVERIFY(QThreadPool::globalInstance()->waitForDone(20000));
        QCoreApplication::processEvents();
        QCOMPARE(out(), "first\ndone\n");
    }
};

QTEST_GUILESS_MAIN(AlertsTest)
#include "tst_alerts.moc"
