// One fault a row: what is done, what has to come of it, and what came of it. Each runs in a process of its own, so
// that a crash or a hang is one row's.
#include "rig.h"
#include "server.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThreadPool>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>
#include <QtTest/QtTest>

#include <cmath>
#include <cstdio>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

lumd::Record withActions(const std::string &key, int count)
{
    std::vector<lumd::Record> actions;
    for (int i = 0; i < count; ++i) {
        actions.push_back(lumd::newRecord(lumd::actionElementRecord));
        lumd::setString(actions.back().get(), 0x01, std::to_string(i));
    }
    lumd::Record fresh = record(key);
    lumd::setRecords(fresh.get(), 0x187, std::move(actions));
    return fresh;
}

QString seen(const DesktopNotificationList &list, QStringList told)
{
    QStringList shown;
    for (const DesktopNotification &notification : list) {
        const QString extras = notification.actions.isEmpty() ? "" : QString("+%1").arg(notification.actions.size());
        shown.append(notification.hints.value("x-vorn-origin-key").toString() + '=' + notification.summary +
                     (notification.appIcon.isEmpty() ? "" : "+icon") + extras);
    }
    told.sort();
    const QString what = shown.size() > 3 ? QString::number(shown.size()) : '[' + shown.join(' ') + ']';
    return QString("shows %1, told [%2]").arg(what, told.join(", "));
}

using Row = std::function<QString()>;

/// What is seen after `deed`, which must not take long.
template <typename Setting> QString after(Setting &setting, World &world, void (*deed)(Setting &setting), int maximumMs)
{
    QElapsedTimer timer;
    timer.start();
    deed(setting);
    const qint64 elapsed = timer.elapsed();
    const DesktopNotificationList list = setting.desktop();
    return seen(list, world.told) + (elapsed > maximumMs ? QString(" after %1 ms").arg(elapsed) : QString());
}

Row onWorld(void (*deed)(World &world), const char *config = "")
{
    return [deed, config] {
        World world(config);
        return after(world, world, deed, 4000);
    };
}

Row onRig(Rig::Place place, bool withServer, void (*deed)(Rig &rig))
{
    return [place, withServer, deed] {
        Rig rig(place, withServer);
        return after(rig, *rig.world, deed, 4000);
    };
}

/// What is left when the plug-in is unloaded in the state that `deed` leads to.
Row unloadAfter(void (*deed)(World &world))
{
    return [deed] {
        World world("[Notifications]\nNotifAlertCommand = sleep 2\n");
        deed(world);
        return after<World>(
            world, world,
            [](World &w) {
                w.unload();
                QTest::qWait(600);
            },
            1600);
    };
}

class OddServer : public QDBusVirtualObject
{
public:
    using Answer = void (*)(const QDBusMessage &, const QDBusConnection &);
    explicit OddServer(Answer answer)
        : m_answer(answer)
    {
    }
    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        m_answer(message, connection);
        return true;
    }

private:
    Answer m_answer;
};

/// What the host sees of a server that gives such answers.
Row answers(OddServer::Answer answer)
{
    return [answer] {
        QTemporaryDir directory;
        const QString address = "unix:path=" + directory.filePath("bus");
        QThread thread;
        auto *const odd = new OddServer(answer);
        odd->moveToThread(&thread);
        QObject::connect(&thread, &QThread::finished, odd, &QObject::deleteLater);
        thread.start();
        const auto serve = [&address, odd] {
            auto *const listener = new QDBusServer(address, odd);
            QObject::connect(listener, &QDBusServer::newConnection, odd, [odd](QDBusConnection peer) {
                peer.registerVirtualObject("/", odd, QDBusConnection::SubPath);
            });
        };
        QMetaObject::invokeMethod(odd, serve, Qt::BlockingQueuedConnection);
        World world(World::Options{{}, false, address.toUtf8(), true});
        const auto deed = [](World &w) {
            for (const char *const text : {"a", "b", "c"}) {
                add(w, "k", text);
                add(w, text);
            }
            w.host->remove("k");
            w.host->clear();
            w.unload();
        };
        QElapsedTimer timer;
        timer.start();
        deed(world);
        const bool late = timer.elapsed() > 4000;
        thread.quit();
        thread.wait();
        return QString("goes on, told [%1]%2").arg(world.told.join(", "), late ? ", late" : "");
    };
}

/// What is shown when shell commands have spoiled the cache $C in the folder $L, before and after the plug-in was
/// loaded, and whether the files that are not ours to touch, in $E, have survived.
Row cache(
    const char *before, const char *after, void (*rights)() = [] {})
{
    return [before, after, rights] {
        World world(World::Options{{}, true, "none", false});
        QTemporaryDir elsewhere;
        qputenv("C", world.cachePath().toUtf8());
        qputenv("L", QFileInfo(world.cachePath()).path().toUtf8());
        qputenv("E", elsewhere.path().toUtf8());
        const auto shell = [](const char *command) { return QProcess::execute("sh", {"-ec", command}) == 0; };
        bool ran = shell("mkdir $E/notif; echo precious | tee $E/k.png >$E/notif/k.png") && shell(before);
        world.load();
        ran = ran && shell(after);
        rights();
        add(world, "k");
        const DesktopNotificationList list = world.desktop();
        QString result = seen(list, world.told);
        world.host->remove("k");
        QTest::qWait(600);
        world.host->clear();
        world.unload();
        setfsuid(0);
        result +=
            shell("grep -q precious $E/k.png && grep -q precious $E/notif/k.png") ? "" : ", lost a file elsewhere";
        return result + (ran ? "" : ", could not be spoiled");
    };
}

/// The titles with which the alert command, a script, was run.
Row alerts(const char *command, const std::vector<std::string> &titles, size_t textSize = 0)
{
    return [command, titles, textSize] {
        QTemporaryDir directory;
        QFile script(directory.filePath("alert.sh"));
        script.open(QIODevice::WriteOnly);
        script.write(QString("echo \"$TITLE\" >>%1/out\n%2\n").arg(directory.path(), command).toUtf8());
        script.close();
        const qint64 before = residentKib();
        World world("[Notifications]\nNotifAlertCommand = /bin/sh " + script.fileName().toStdString() + "\n");
        for (const std::string &title : titles) {
            add(world, "k", title, title == titles.front() ? std::string(textSize, 'x') : std::string());
        }
        QByteArray runs;
        QDeadlineTimer deadline(10000);
        while (!deadline.hasExpired() && !runs.endsWith((titles.back() + "\n").c_str())) {
            QTest::qWait(10);
            QFile out(directory.filePath("out"));
            runs = out.open(QIODevice::ReadOnly) ? out.readAll() : QByteArray();
        }
        return "ran " + runs.simplified() + (residentKib() - before < 30000 ? "" : ", grew");
    };
}

QString loads(int times)
{
    Rig rig(Rig::Peer);
    qint64 early = 0;
    for (int i = 1; i <= times; ++i) {
        add(*rig.world, "k", std::to_string(i));
        rig.world->unload();
        rig.world->load();
        rig.desktop();
        early = i == times / 10 ? residentKib() : early;
    }
    const double growth = 100.0 * static_cast<double>(residentKib() - early) / static_cast<double>(early);
    return seen(rig.desktop(), rig.world->told) + (growth < 5 ? ", flat" : QString(", grew %1 %").arg(growth));
}

/// The server is killed, or it loses its connection alone and comes back with what it knows.
Row restarted(bool withMemory)
{
    return [withMemory] {
        Rig rig(Rig::Bus, !withMemory);
        World memory(World::Options{{}, true, "", false});
        const auto serve = [&](const char *name) {
            memory.onServer([&](Server &server) { server.serveBus(QDBusConnection::connectToBus(rig.address, name)); });
        };
        if (withMemory) {
            serve("one");
        }
        add(*rig.world, "k", "one");
        add(*rig.world, "l", "one");
        rig.desktop();
        if (withMemory) {
            memory.onServer([](Server &) { QDBusConnection::disconnectFromBus("one"); });
            serve("two");
        } else {
            rig.killServer();
            rig.startServer();
        }
        QTest::qWait(200);
        add(*rig.world, "k", "two");
        const QString updated = seen(rig.desktop(), rig.world->told);
        rig.user()->Dismiss(rig.desktop().first().id);
        const DesktopNotificationList list = rig.desktop();
        return updated + "; then " + seen(list, rig.world->told);
    };
}

/// The clock jumps while a removal waits for its time.
Row clockJump(const char *offset)
{
    return [offset] {
        World world;
        add(world, "k");
        world.host->remove("k");
        const QDateTime before = QDateTime::currentDateTime();
        QFile file(qEnvironmentVariable("FAKETIME_TIMESTAMP_FILE"));
        file.open(QIODevice::WriteOnly);
        file.write(offset);
        file.close();
        QTest::qWait(300);
        const int early = world.desktop().size();
        QTest::qWait(400);
        const bool jumped = std::abs(before.daysTo(QDateTime::currentDateTime())) > 20;
        return QString("shows %1, then %2%3").arg(early).arg(world.desktop().size()).arg(jumped ? "" : ", no jump");
    };
}

void dismissFirst(World &world)
{
    world.onServer([id = world.desktop().first().id](Server &server) { server.Dismiss(id); });
}

struct Fault {
    const char *name;
    const char *expected;
    Row happens;
};

using Message = QDBusMessage;
using Connection = QDBusConnection;
constexpr const char *goesOn = "goes on, told []";
constexpr const char *nothing = "shows [], told []";
constexpr const char *withIcon = "shows [k=t+icon], told []";
constexpr const char *withoutIcon = "shows [k=t], told []";
constexpr const char *missing = "[Notifications]\nNotifAlertCommand = /nonexistent\n";

// clang-format off
const Fault faults[] = {
    {"server: socket refused", nothing, onRig(Rig::Peer, false, [](Rig &r) { add(*r.world, "k"); })},
    {"server: absent at start, comes later", "shows [k=two+icon], told []", onRig(Rig::Bus, false, [](Rig &r) {
        add(*r.world, "k", "one");
        r.startServer();
        add(*r.world, "k", "two"); })},
    {"server: killed", nothing, onRig(Rig::Peer, true, [](Rig &r) {
        add(*r.world, "k");
        r.killServer();
        for (int i = 0; i < 200; ++i) {
            add(*r.world, "k", std::to_string(i));
        }
        r.world->host->remove("k");
        r.world->host->clear();
        QTest::qWait(600); })},
    {"server: stopped, then continued", "shows 51, told []", onRig(Rig::Peer, true, [](Rig &r) {
        add(*r.world, "k");
        r.signalServer(SIGSTOP);
        for (int i = 0; i < 50; ++i) {
            add(*r.world, std::to_string(i));
        }
        r.signalServer(SIGCONT); })},
    {"server: restarted, memory lost", "shows [k=two+icon], told []; then shows [], told [removed k]", restarted(false)},
    {"server: restarted, memory kept",
     "shows [k=two+icon l=one+icon], told []; then shows [l=one+icon], told [removed k]", restarted(true)},
    {"server: replies garbage", goesOn, answers([](const Message &m, const Connection &c) {
        c.send(m.createReply({"x", QVariantMap{{"y", 1}}})); })},
    {"server: replies identifier 0", goesOn, answers([](const Message &m, const Connection &c) { c.send(m.createReply(0U)); })},
    {"server: one identifier for all", goesOn, answers([](const Message &m, const Connection &c) { c.send(m.createReply(7U)); })},
    {"server: replies errors", goesOn, answers([](const Message &m, const Connection &c) { c.send(m.createErrorReply("x.y", "z")); })},
    {"server: never replies", goesOn, answers([](const Message &, const Connection &) {})},
    {"server: cuts the socket mid-call", goesOn, answers([](const Message &, const Connection &c) {
        Connection::disconnectFromPeer(c.name()); })},
    {"server: closes everything", "shows [], told [removed k, removed l]", onWorld([](World &w) {
        add(w, "k");
        add(w, "l");
        dismissFirst(w);
        dismissFirst(w); })},
    {"server: 20,000 signals about nothing of ours", withIcon, onWorld([](World &w) {
        add(w, "k");
        w.onServer([](Server &server) {
            for (uint id = 100; id < 10100; ++id) {
                Q_EMIT server.ActionInvoked(id, "default");
                Q_EMIT server.NotificationClosed(id, 2);
            } }); })},
    {"cache: removed", withoutIcon, cache("", "rm -r $C")},
    {"cache: read-only", withoutIcon, cache("", "", [] { setfsuid(65534); })},
    {"cache: disk full", withoutIcon, cache("", "", [] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit none = {0, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &none); })},
    {"cache: a file in its place", withoutIcon, cache("mkdir $L; echo >$C", "")},
    {"cache: a file in its parent's place", withoutIcon, cache("echo >$L", "")},
    {"cache: a link in its place", withIcon, cache("mkdir $L; ln -s $E $C", "")},
    {"cache: a link in its place later", withoutIcon, cache("", "rm -r $C; ln -s $E $C")},
    {"cache: a link in its parent's place", withoutIcon, cache("ln -s $E $L", "")},
    {"cache: a link in its parent's place later", withoutIcon, cache("", "rm -r $L; ln -s $E $L")},
    {"cache: a link within", withIcon, cache("mkdir -p $C; ln -s $E $C/link", "ln -s $E $C/link")},
    {"cache: a link in the icon's place", withIcon, cache("", "ln -s $E/k.png $C/k.png")},
    {"cache: another user's, linked to ours", withoutIcon, cache("mkdir $L; ln -s $E/notif $C; chown nobody $L", "")},
    {"cache: another user's directory within ours", withoutIcon, cache("mkdir -p $C; chown nobody $C; chmod 777 $C", "")},
    {"cache: open to all", "775 700 600 k.png", [] {
        umask(0);
        cache("mkdir -p $C; chmod 777 $L $C", "")();
        World world(World::Options{{}, true, "none", false});
        QDir().mkpath(world.cachePath());
        world.load();
        add(world, "k");
        QProcess stat;
        stat.start("stat", {"-c", "%a", world.cachePath() + "/..", world.cachePath(), world.cachePath() + "/k.png"});
        stat.waitForFinished();
        return stat.readAll().simplified() + " k.png"; }},
    {"alert command: missing", "shows [k=two+icon], told []", onWorld([](World &w) {
        add(w, "k", "one");
        add(w, "k", "two"); }, missing)},
    {"alert command: fails, is killed, hangs", "ran fails killed hangs",
     alerts("case $TITLE in fails) exit 3 ;; killed) kill -9 $$ ;; hangs) exec sleep 20 ;; esac", {"fails", "killed", "hangs"})},
    {"alert command: leaves children behind", "ran one two", alerts("sleep 15 &", {"one", "two"})},
    {"alert command: floods", "ran one two", alerts("head -c 300000000 /dev/zero", {"one", "two"})},
    {"alert command: more text than a process takes", "ran two", alerts(":", {"one", "two"}, 1 << 20)},
    {"host: null for everything", "shows 4, told []", onWorld([](World &w) {
        w.host->add(nullptr);
        w.host->remove(nullptr);
        w.host->publish(nullptr);
        w.host->dexoptNotify(nullptr, nullptr, std::nan(""));
        w.host->installationResult(nullptr);
        w.host->uninstallationResult(nullptr); })},
    {"host: invalid UTF-8, surrogates, no characters", "shows 5, told []", onWorld([](World &w) {
        for (const char *const text : {"\xff\xfe", "\xed\xa0\x80", "\xef\xbf\xbe\xef\xb7\x90", "\xf4\x90\x80\x80", "k"}) {
            add(w, text, text, text);
        } })},
    {"host: texts of 1 MiB", "shows 1048576 characters", [] {
        World world;
        const std::string text(1 << 20, 'x');
        add(world, text, text, text);
        return QString("shows %1 characters").arg(world.only().body.size()); }},
    {"host: 10,000 actions", "shows [k=t+icon+20000], told []", onWorld([](World &w) { w.host->add(withActions("k", 10000).get()); })},
    {"host: more than a D-Bus message holds", "shows [k=t+icon l=t+icon], told []", onWorld([](World &w) {
        add(w, "k");
        w.host->add(withActions(std::string(20000, 'x'), 10000).get());
        add(w, "l"); })},
    {"host: 1,000 loads and unloads", "shows [], told [], flat", [] { return loads(1000); }},
    {"host: clock 30 days ahead", "shows 1, then 0", clockJump("+30d")},
    {"host: clock 30 days back", "shows 1, then 0", clockJump("-30d")},
    {"unload: idle", nothing, unloadAfter([](World &) {})},
    {"unload: one alert runs, another waits", nothing, unloadAfter([](World &w) { add(w, "k"); add(w, "l"); })},
    {"unload: removal waits", nothing, unloadAfter([](World &w) { add(w, "k"); w.host->remove("k"); })},
    {"unload: dismissed while removal waits", nothing, unloadAfter([](World &w) { add(w, "k"); w.host->remove("k"); dismissFirst(w); w.settle(); })},
    {"unload: dismissal on its way", nothing, unloadAfter([](World &w) { add(w, "k"); dismissFirst(w); })},
    {"unload: progress shown", nothing, unloadAfter([](World &w) { w.host->dexoptNotify("Optimising", "1 of 2", 0.5); })},
    {"unload: within the report of a dismissal", nothing, unloadAfter([](World &w) {
        w.host->onRemoved = [&w](const std::string &) { w.unload(); };
        add(w, "k");
        add(w, "l");
        dismissFirst(w);
        w.settle(); })},
    {"unload: within the report of an action", nothing, unloadAfter([](World &w) {
        w.host->onAction = [&w](const std::string &, lu_field *) { w.unload(); };
        add(w, "k");
        w.onServer([id = w.only().id](Server &server) { Q_EMIT server.ActionInvoked(id, "default"); });
        w.settle(); })},
};
// clang-format on

/// What a row gives in a process of its own.
QString outcome(int index, bool clock)
{
    QTemporaryFile offset;
    offset.open();
    QProcess process;
    if (clock) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_PRELOAD", qEnvironmentVariable("KAVREL_FAKETIME"));
        environment.insert("FAKETIME_TIMESTAMP_FILE", offset.fileName());
        environment.insert("FAKETIME_NO_CACHE", "1");
        environment.insert("DONT_FAKE_MONOTONIC", "1");
        process.setProcessEnvironment(environment);
    }
    process.start(QCoreApplication::applicationFilePath(), {QString::number(index)});
    if (!process.waitForFinished(60000)) {
        return "hangs";
    }
    if (process.exitStatus() == QProcess::CrashExit) {
        return QString("crashes with signal %1").arg(process.exitCode());
    }
    const QByteArray output = process.readAllStandardOutput(); // what a failed check of World prints comes first
    return QString::fromUtf8(output).trimmed();
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc > 1) {
        std::puts(qPrintable(faults[QString(argv[1]).toInt()].happens()));
        return 0;
    }
    int failures = 0;
    std::puts("| fault | expected | happened |\n|---|---|---|");
    for (const Fault &fault : faults) {
        const QString happened = outcome(static_cast<int>(&fault - faults), QString(fault.name).contains("clock"));
        const bool failed = happened != fault.expected;
        failures += failed ? 1 : 0;
        std::printf("| %s | %s | %s%s |\n", fault.name, fault.expected, failed ? "**no:** " : "", qPrintable(happened));
        std::fflush(stdout);
    }
    std::printf("\n%d faults, %d not as expected\n", static_cast<int>(std::size(faults)), failures);
    return failures == 0 ? 0 : 1;
}
