// SPDX-License-Identifier: MIT
#include "alert/alertcommand.h"
#include "tests/fixture.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QTextCodec>
#include <QtCore/QThreadPool>

#include <climits>
#include <csignal>
#include <dlfcn.h>
#include <filesystem>
#include <sys/syscall.h>
#include <thread>

namespace n = field::notification;

namespace
{

bool outOfProcesses = false;
int descriptor = 0;     ///< Qt then takes it for the new process's
bool killedAll = false; ///< whether Qt would have killed all of the user's processes

/// A configuration with a shell script, on one line, as the alert command. Its "$TMPDIR" is the test's own.
std::string config(QByteArray script)
{
    return "[Notifications]\nNotifAlertCommand = sh -c \"" + script.replace('"', R"(""")").toStdString() + "\"\n";
}

/// The most memory that was ever resident.
long peakKib() { return contents("/proc/self/status").section("VmHWM:", 1).trimmed().section(' ', 0, 0).toLong(); }

QString out() { return contents(qgetenv("TMPDIR") + "/out"); }

} // namespace

// Qt calls these two in place of the C library's.
extern "C" Q_DECL_EXPORT long systemCall(long number, long a, long b, int *c, long d, long e, long f) asm("syscall");
long systemCall(long number, long a, long b, int *c, long d, long e, long f)
{
    if (number == SYS_clone && outOfProcesses) {
        *c = descriptor;
        return -1;
    }
    static const auto next = reinterpret_cast<decltype(&systemCall)>(dlsym(RTLD_NEXT, "syscall"));
    return next(number, a, b, c, d, e, f);
}

extern "C" Q_DECL_EXPORT int kill(pid_t process, int signal) noexcept
{
    if (process == -1) {
        killedAll = true;
        return 0;
    }
    return static_cast<int>(systemCall(SYS_kill, process, signal, nullptr, 0, 0, 0));
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
        Fixture fixture(config(R"(printf '%s|%s|%s|%s|%s|%s|%s\n' "${TITLE?}" "${PACKAGE_NAME?}" "${APP_NAME?}" )"
                               R"("${BODY?}" "${SUBTEXT?}" "${CATEGORY?}" "$OTHER" >>"$TMPDIR/out")"));
        fixture.add("k", {{n::title, "Ada"}, {n::packageName, "p"}, {n::appName, "Chat"}, {n::importance, 2}});
        fixture.add("l", {{n::text, "two\nlines"}, {n::subText, "✓ é"}, {n::category, "msg"}, {n::importance, 5}});
        fixture.add("m", {{n::title, R"($(id) `id` \ %n "q" 'q')"}, {n::importance, 3}});
        QTRY_COMPARE(out(), "Ada|p|Chat||||kept\n|||two\nlines|✓ é|msg|kept\n$(id) `id` \\ %n \"q\" 'q'||||||kept\n");
    }

    /// Commands run one after the other, in order, even after failed ones.
    void queue()
    {
        Fixture fixture(config(
            R"(mkdir "$TMPDIR/lock" || echo overlap >>"$TMPDIR/out"; rmdir "$TMPDIR/lock"; )"
            R"(echo "$TITLE" >>"$TMPDIR/out"; case $TITLE in fails) exit 3;; killed) kill -9 $$;; forks) sleep 20& ;;)"
            R"(floods) head -c 100000000 /dev/zero; head -c 100000000 /dev/zero >&2; esac)"));
        [[maybe_unused]] const long before = peakKib();
        for (const char *const title : {"fails", "killed", "floods", "forks", "again", "again"}) {
            fixture.add("k", {{n::title, title}, {n::importance, 3}});
        }
        fixture.add("k", {{n::title, "too long"}, {n::importance, 3}, {n::text, QByteArray(1024 * 1024, 'x')}});
        fixture.add("k", {{n::title, "low"}, {n::importance, 1}});
        fixture.add("k", {{n::title, "low but flagged"}, {n::importance, 1}, {n::lowUrgency, true}});
        fixture.add("k", {{n::title, "last"}, {n::importance, 4}});
        QTRY_COMPARE_WITH_TIMEOUT(out(), "fails\nkilled\nfloods\nforks\nagain\nlow but flagged\nlast\n", 18000);
#ifndef __SANITIZE_ADDRESS__ // it keeps released memory
        QVERIFY2(before > 0 && peakKib() < before + 50000, "keeps the command's output");
#endif
    }

    void commandsThatCannotStartOrEnd()
    {
        const QTemporaryDir directory;
        const std::string end = "touch " + directory.filePath("out").toStdString() + '"';
        QElapsedTimer timer;
        timer.start();
        static bool warned = false;
        const auto warn = [](QtMsgType, const QMessageLogContext &, const QString &) { warned = true; };
        const QtMessageHandler before = qInstallMessageHandler(warn);
        for (const char *const command : {"/nonexistent/command", "/etc/passwd", "/", " ", "\"", "sh -c \"exit 3"}) {
            runAlertCommand("t", {}, {}, {}, {}, {}, command);
        }
        std::thread other([&end] { runAlertCommand({}, {}, {}, {}, {}, {}, "sh -c \"read line; " + end); });
        runAlertCommand({}, {}, {}, {}, {}, {}, "sh -c \"sleep 120; " + end);
        other.join();
        qInstallMessageHandler(before);
        QVERIFY2(!warned, "Qt complains in the host's log");
        QVERIFY2(timer.elapsed() >= 29000 && timer.elapsed() < 60000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(!QFile::exists(directory.filePath("out")));
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
        const auto before = run(1, 0); // Qt asks the kernel once for its features
        outOfProcesses = true;
        const auto after = run(100, INT_MAX);
        run(1, hosts.handle());
        outOfProcesses = false;
        QCOMPARE(after, before);
        QVERIFY(!killedAll);
        QVERIFY2(hosts.read(1).size() == 1, "closed a descriptor that was not its own");
    }

    /// Unloading neither waits for the running command nor ends it, and drops the waiting ones.
    void unloadWhileRunning()
    {
        Fixture fixture(config(R"(echo "$TITLE" >>"$TMPDIR/out"; while [ ! -e "$TMPDIR/go" ]; do sleep 0.01; done; )"
                               R"(echo done >>"$TMPDIR/out")"));
        fixture.add("a", {{n::title, "first"}, {n::importance, 3}});
        fixture.add("b", {{n::title, "never"}, {n::importance, 3}});
        QTRY_COMPARE(out(), "first\n");
        fixture.unload();
        QVERIFY(QFile(qgetenv("TMPDIR") + "/go").open(QIODevice::WriteOnly));
        QVERIFY(QThreadPool::globalInstance()->waitForDone(20000));
        QCoreApplication::processEvents();
        QCOMPARE(out(), "first\ndone\n");
    }
};

QTEST_GUILESS_MAIN(AlertsTest)
#include "tst_alerts.moc"
