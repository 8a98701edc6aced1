// One fault a row: what is done, what has to come of it, and what came of it. Each runs in a process of its own, so
// that a crash or a hang is one row's.
#include "rows.h"

#include <cmath>
#include <cstdio>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

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
constexpr const char *sleeping = "[Notifications]\nNotifAlertCommand = sleep 6\n";
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
    {"cache: read-only", withoutIcon, cache("", "chmod 755 $L/..", [] { setfsuid(65534); })},
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
    {"unload: idle", nothing, onWorld(leave)},
    {"unload: one alert runs, another waits", nothing, onWorld([](World &w) { add(w, "k"); add(w, "l"); leave(w); }, sleeping)},
    {"unload: removal waits", nothing, onWorld([](World &w) { add(w, "k"); w.host->remove("k"); leave(w); })},
    {"unload: dismissed while removal waits", nothing, onWorld([](World &w) {
        add(w, "k");
        w.host->remove("k");
        dismissFirst(w);
        w.settle();
        leave(w); })},
    {"unload: dismissal on its way", nothing, onWorld([](World &w) { add(w, "k"); dismissFirst(w); leave(w); })},
    {"unload: progress shown", nothing, onWorld([](World &w) { w.host->dexoptNotify("Optimising", "1 of 2", 0.5); leave(w); })},
    {"unload: within the report of a dismissal", nothing, onWorld([](World &w) {
        w.host->onRemoved = [&w](const std::string &) { w.unload(); };
        add(w, "k");
        add(w, "l");
        dismissFirst(w);
        w.settle(); })},
    {"unload: within the report of an action", nothing, onWorld([](World &w) {
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
