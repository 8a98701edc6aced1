// SPDX-License-Identifier: MIT
// One fault a row: what is done, what has to come of it, and what came of it. Each runs in a process of its own, so
// that a crash or a hang is one row's.
#include "tests/faults/scene.h"

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

/// The host goes on, whatever a server answers.
Fault answers(const char *name, const OddServer::Answer &answer)
{
    return {name, "add k a, addMany 3, add k b, add k c, remove k, clear, unload, cut", "[]", "odd", answer};
}

const char *const bare = "[kt bare], then []";
const char *const shown = "[kt], then []";

const Fault faults[] = {
    {"server: socket refused", "add k t", "[]", "nowhere"},
    {"server: absent at start, comes later", "add k 1, start, wait 200, add k 2", "[k2]", "bus"},
    {"server: killed", "add k t, send KILL, addMany 200, remove k, clear, wait 600", "[]", "socket"},
    {"server: stopped, then continued", "add k t, send STOP, addMany 50, send CONT", "[51]", "socket"},
    {"server: restarted, memory lost", "start, add k 1, send KILL, start, wait 200, add k 2, look, dismiss",
     "[k2], then [] told removed k", "bus"},
    {"server: restarted, memory kept", "reconnect, add k 1, add l 1, reconnect, wait 200, add k 2, look, dismiss",
     "[k2; l1], then [l1] told removed k", "bus"},
    answers("server: replies garbage",
            [](auto &call, auto &peer) {
                peer.send(call.createReply({"x", QVariantMap{{"y", 1}}}));
            }),
    answers("server: replies identifier 0", [](auto &call, auto &peer) { peer.send(call.createReply(0U)); }),
    answers("server: one identifier for all", [](auto &call, auto &peer) { peer.send(call.createReply(7U)); }),
    answers("server: never replies", [](auto &, auto &) {}),
    answers("server: cuts the socket mid-call",
            [](auto &, auto &peer) { QDBusConnection::disconnectFromPeer(peer.name()); }),
    {"server: closes everything", "add k t, add l t, dismiss, dismiss, wait 50, sh ls $C >$D/says",
     "[] told removed k; removed l"},
    {"cache: removed", cache("", "rm -r $C"), bare},
    {"cache: read-only", cache("", "chmod 755 $L/.., beNobody"), bare},
    {"cache: disk full", cache("", "prlimit --fsize=0: --pid $PPID"), bare},
    {"cache: a file in its place", cache("mkdir $L; echo >$C", ":"), bare},
    {"cache: a file in its parent's place", cache("echo >$L", ":"), bare},
    {"cache: a link in its place", cache("mkdir $L; ln -s $D $C", ":"), shown},
    {"cache: a link in its place later", cache("", "rm -r $C; ln -s $D $C"), bare},
    {"cache: a link in its parent's place", cache("ln -s $D $L", ":"), bare},
    {"cache: a link in its parent's place later", cache("", "rm -r $L; ln -s $D $L"), bare},
    {"cache: a link within", cache("mkdir -p $C; ln -s $D $C/link", "ln -s $D $C/link"), shown},
    {"cache: a link in the icon's place", cache("", "ln -s $D/k.png $C/k.png"), shown},
    {"cache: another user's, linked to ours", cache("mkdir $L; ln -s $D/notif $C; chown nobody $L", ":"), bare},
    {"cache: another user's directory within ours", cache("mkdir -p $C; chown nobody $C; chmod 777 $C", ":"), bare},
    {"cache: open to all",
     "unload, sh mkdir -p $C; chmod 777 $L $C, load, add k t, sh stat -c %a $L $C $C/k.png >$D/says",
     "[kt] says 775 700 600"},
    {"alert command: missing", "add k 1, add k 2, wait 200", "[k2]"},
    {"alert command: fails, is killed, hangs",
     "alert case $TITLE in fails) exit 3;; killed) kill -9 $$;; hangs) exec sleep 20;; esac, "
     "add k fails, add k killed, add k hangs, awaitAlerts 3",
     "[khangs] says fails killed hangs"},
    {"alert command: forks", "alert sleep 15 &, add k 1, add k 2, awaitAlerts 2", "[k2] says 1 2"},
    {"alert command: floods", "alert head -c 300000000 /dev/zero, add k 1, add k 2, awaitAlerts 2", "[k2] says 1 2"},
    {"host: texts of 1 MiB, too long for a command", "alert :, add k x1048576, look, add k 2, awaitAlerts 1",
     "[1048577 characters], then [k2] says 2"},
    {"host: null for everything", "handNull", "[4]"},
    {"host: invalid UTF-8, surrogates, no characters", "addBadTexts", "[4]"},
    {"host: 10,000 actions", "add k t 10000", "[kt with 10000 actions]"},
    {"host: more than a D-Bus message holds", "add k t, add x20000 t 10000, add l t", "[kt; lt]"},
    {"host: 1,000 loads and unloads", "reload 1000", "[]"},
    {"unload: an alert runs, another waits, progress is shown",
     "alert sleep 6, add k 1, awaitAlerts 1, add l 2, optimise, unload, wait 600", "[] says 1"},
    {"unload: removal waits", "add k t, remove k, unload, wait 600", "[]"},
    {"unload: dismissal on its way", "add k t, dismiss, unload, wait 600", "[]"},
    {"unload: within the report of a dismissal", "unloadWhenTold, add k t, add l t, dismiss", "[]"},
    {"unload: within the report of an action", "unloadWhenTold, add k t, invoke", "[]"},
    {"host: clock 30 days ahead", "add k t, remove k, setClock +30d, look, wait 400", shown},
    {"host: clock 30 days back", "add k t, remove k, setClock -30d, look, wait 400", shown},
};

/// What a row gives in a process of its own.
QString outcome(size_t index)
{
    // Its processes share a lock, which those that are killed keep: for the rows alone that need it.
    qputenv("LD_PRELOAD", QString(faults[index].name).contains("clock") ? qgetenv("KAVREL_FAKETIME") : "");
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {QString::number(index)});
    const bool hangs = !process.waitForFinished(60000);
    const QString output = process.readAllStandardOutput().trimmed(); // also what a failed check of World prints
    return hangs ? "hangs" : process.exitStatus() == QProcess::CrashExit ? output + " and crashes" : output;
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
