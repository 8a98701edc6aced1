// One fault a row: what is done, what has to come of it, and what came of it. Each runs in a process of its own, so
// that a crash or a hang is one row's.
#include "scene.h"

#include <cstdio>

namespace
{

struct Fault {
    const char *name;
    QString steps;
    const char *expected;
    const char *server = "ours";
    OddServer::Answer answer = nullptr;
};

/// Notifications and clearing go on while shell commands spoil the cache before and after the plug-in is loaded.
QString cache(const char *before, const char *after)
{
    return QString("unload, sh rm -rf $L; %1, load, sh %2, add k t, look, remove k, wait 600, clear, unload")
        .arg(before, after);
}

const char *const odd = "add k a, addMany 3, add k b, add k c, remove k, clear, unload";
const char *const shown = "[kt], then []";
const char *const withIcon = "[kt+icon], then []";

const Fault faults[] = {
    {"server: socket refused", "add k t", "[]", "nowhere"},
    {"server: absent at start, comes later", "add k 1, start, wait 200, add k 2", "[k2+icon]", "bus"},
    {"server: killed", "add k t, kill, addMany 200, remove k, clear, wait 600", "[]", "socket"},
    {"server: stopped, then continued", "add k t, send 19, addMany 50, send 18", "[51]", "socket"},
    {"server: restarted, memory lost", "start, add k 1, kill, start, wait 200, add k 2, look, dismiss",
     "[k2+icon], then [] told removed k", "bus"},
    {"server: restarted, memory kept", "reconnect, add k 1, add l 1, reconnect, wait 200, add k 2, look, dismiss",
     "[k2+icon; l1+icon], then [l1+icon] told removed k", "bus"},
    {"server: replies garbage", odd, "[]", "odd",
     [](auto &call, auto &peer) {
         peer.send(call.createReply({"x", QVariantMap{{"y", 1}}}));
     }},
    {"server: replies identifier 0", odd, "[]", "odd", [](auto &call, auto &peer) { peer.send(call.createReply(0U)); }},
    {"server: one identifier for all", odd, "[]", "odd",
     [](auto &call, auto &peer) { peer.send(call.createReply(7U)); }},
    {"server: replies errors", odd, "[]", "odd",
     [](auto &call, auto &peer) { peer.send(call.createErrorReply("x.y", "z")); }},
    {"server: never replies", odd, "[]", "odd", [](auto &, auto &) {}},
    {"server: cuts the socket mid-call", odd, "[]", "odd",
     [](auto &, auto &peer) { QDBusConnection::disconnectFromPeer(peer.name()); }},
    {"server: closes everything", "add k t, add l t, dismiss, dismiss", "[] told removed k; removed l"},
    {"cache: removed", cache("", "rm -r $C"), shown},
    {"cache: read-only", cache("", "chmod 755 $L/.., beNobody"), shown},
    {"cache: disk full", cache("", ":, fillDisk"), shown},
    {"cache: a file in its place", cache("mkdir $L; echo >$C", ":"), shown},
    {"cache: a file in its parent's place", cache("echo >$L", ":"), shown},
    {"cache: a link in its place", cache("mkdir $L; ln -s $D $C", ":"), withIcon},
    {"cache: a link in its place later", cache("", "rm -r $C; ln -s $D $C"), shown},
    {"cache: a link in its parent's place", cache("ln -s $D $L", ":"), shown},
    {"cache: a link in its parent's place later", cache("", "rm -r $L; ln -s $D $L"), shown},
    {"cache: a link within", cache("mkdir -p $C; ln -s $D $C/link", "ln -s $D $C/link"), withIcon},
    {"cache: a link in the icon's place", cache("", "ln -s $D/k.png $C/k.png"), withIcon},
    {"cache: another user's, linked to ours", cache("mkdir $L; ln -s $D/notif $C; chown nobody $L", ":"), shown},
    {"cache: another user's directory within ours", cache("mkdir -p $C; chown nobody $C; chmod 777 $C", ":"), shown},
    {"cache: open to all",
     "unload, sh mkdir -p $C; chmod 777 $L $C, load, add k t, sh stat -c %a $L $C $C/k.png >$D/says",
     "[kt+icon] says 775 700 600"},
    {"alert command: missing", "add k 1, add k 2, wait 200", "[k2+icon]"},
    {"alert command: fails, is killed, hangs",
     "alert case $TITLE in fails) exit 3;; killed) kill -9 $$;; hangs) exec sleep 20;; esac, "
     "add k fails, add k killed, add k hangs, awaitAlerts 3",
     "[khangs+icon] says fails killed hangs"},
    {"alert command: forks", "alert sleep 15 &, add k 1, add k 2, awaitAlerts 2", "[k2+icon] says 1 2"},
    {"alert command: floods", "alert head -c 300000000 /dev/zero, add k 1, add k 2, awaitAlerts 2",
     "[k2+icon] says 1 2"},
    {"host: texts of 1 MiB, too long for a command", "alert :, add k x1048576, look, add k 2, awaitAlerts 1",
     "[1048577 characters+icon], then [k2+icon] says 2"},
    {"host: null for everything", "handNull", "[4]"},
    {"host: invalid UTF-8, surrogates, no characters", "addBadTexts", "[4]"},
    {"host: 10,000 actions", "add k t 10000", "[kt+icon+10000 actions]"},
    {"host: more than a D-Bus message holds", "add k t, add x20000 t 10000, add l t", "[kt+icon; lt+icon]"},
    {"host: 1,000 loads and unloads", "reload 1000", "[]"},
    {"unload: an alert runs, another waits, progress is shown",
     "alert sleep 6, add k 1, awaitAlerts 1, add l 2, optimise, unload, wait 600", "[] says 1"},
    {"unload: removal waits", "add k t, remove k, unload, wait 600", "[]"},
    {"unload: dismissal on its way", "add k t, dismiss, unload, wait 600", "[]"},
    {"unload: within the report of a dismissal", "unloadWhenTold, add k t, add l t, dismiss", "[]"},
    {"unload: within the report of an action", "unloadWhenTold, add k t, invoke", "[]"},
    {"host: clock 30 days ahead", "add k t, remove k, setClock +30d, look, wait 400", withIcon},
    {"host: clock 30 days back", "add k t, remove k, setClock -30d, look, wait 400", withIcon},
};

/// What a row gives in a process of its own.
QString outcome(size_t index)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {QString::number(index)});
    if (!process.waitForFinished(60000)) {
        return "hangs";
    }
    if (process.exitStatus() == QProcess::CrashExit) {
        return QString("crashes with signal %1").arg(process.exitCode());
    }
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed(); // also what a failed check of World prints
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc > 1) {
        const Fault &fault = faults[QString(argv[1]).toInt()];
        std::puts(qPrintable(Scene(fault.server, fault.answer).play(fault.steps)));
        return 0;
    }
    int failures = 0;
    std::puts("| fault | expected | happened |\n|---|---|---|");
    for (size_t i = 0; i < std::size(faults); ++i) {
        const QString happened = outcome(i);
        const bool failed = happened != faults[i].expected;
        failures += failed ? 1 : 0;
        std::printf("| %s | %s | %s%s |\n", faults[i].name, faults[i].expected, failed ? "**no:** " : "",
                    qPrintable(happened));
        std::fflush(stdout);
    }
    std::printf("\n%zu faults, %d not as expected\n", std::size(faults), failures);
    return failures == 0 ? 0 : 1;
}
