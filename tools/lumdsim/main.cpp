// SPDX-License-Identifier: MIT
#include "standins/terminal/signals.h"
#include "tools/harness/hostdaemon.h"
#include "tools/harness/serverthread.h"
#include "tools/lumdsim/commandline.h"
#include "tools/lumdsim/hostconfig.h"
#include "tools/lumdsim/session.h"
#include "tools/lumdsim/status.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTextCodec>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace
{

/// Prints which records the host got back in a bad state, or not at all.
bool recordsMisused()
{
    std::vector<std::string> findings = lumd::takeFindings();
    if (lumd::liveRecords() != 0) {
        findings.push_back("records never released: " + std::to_string(lumd::liveRecords()));
    }
    for (const std::string &finding : findings) {
        say(Misuse, QString::fromStdString(finding));
    }
    return !findings.empty();
}

/// Loads the plug-in, plays the script and unloads it again.
int simulate(const QCommandLineParser &parser, HostDaemon *daemon, const QFile &script, ServerThread *own)
{
    Output output(parser.isSet(QStringLiteral("json")));
    Screen screen;
    Player player(&daemon->host, &screen, &output);
    QObject::connect(daemon, &HostDaemon::called, &player, &Player::called);
    QString error;
    if (!daemon->start(parser.value(QStringLiteral("plugin")), own ? own->address() : QString(), &error)) {
        return say(NoEnvironment, error);
    }
    Session session(script, &screen, &player);
    session.setWait(parser.isSet(QStringLiteral("wait")));
    session.setPace(parser.value(QStringLiteral("pace")).toInt());
    const bool watches = screen.watch(daemon->connection(), own, &error);
    const int status = watches ? session.run() : say(NoEnvironment, error);
    const bool takesDown = status == Good && !own && !player.openKeys().isEmpty();
    daemon->stop();
    player.settle();
    if (takesDown) {
        say(Good, QStringLiteral("The notifications were taken down again; with --wait they stay until you answer."));
    }
    return recordsMisused() ? Misuse : status;
}

/// Opens the file with this name or, for "-", the standard input.
bool openScript(const QString &name, QFile *script, QString *error)
{
    script->setFileName(name);
    const bool opened = name == QLatin1String("-") ? script->open(STDIN_FILENO, QIODevice::ReadOnly)
                                                   : script->open(QIODevice::ReadOnly);
    if (!opened) {
        *error = QStringLiteral("%1: %2").arg(name, script->errorString());
    }
    return opened;
}

/// Prepares all that the plug-in needs, and simulates.
int run(const QCommandLineParser &parser)
{
    QLoggingCategory::setFilterRules(
        parser.value(QStringLiteral("logging-rules")).replace(QLatin1Char(';'), QLatin1Char('\n')));
    QString error;
    lumd::Config config;
    QFile script;
    if (!loadHostConfig(parser.value(QStringLiteral("config")), &config, &error) ||
        !openScript(parser.positionalArguments().value(0, QStringLiteral("-")), &script, &error)) {
        return say(BadInput, error);
    }
    onSignals({SIGINT, SIGTERM, SIGHUP}, [](int signal) { QCoreApplication::exit(Interrupted + signal); });
    std::unique_ptr<ServerThread> server; // none for the desktop
    if (!parser.isSet(QStringLiteral("desktop"))) {
        server = std::make_unique<ServerThread>();
        if (!server->listen(&error)) {
            return say(NoEnvironment, error);
        }
    }
    HostDaemon daemon(config.get());
    return simulate(parser, &daemon, script, server.get());
}

} // namespace

int main(int argc, char **argv)
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) { // the first file opened would take its place
            return say(NoEnvironment, QStringLiteral("The standard input or output is closed."));
        }
    }
    // Scripts are UTF-8, and so is the output, in the C locale too.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    // When nobody reads any more, the plug-in still wants to be unloaded.
    std::signal(SIGPIPE, SIG_IGN);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(LUMDSIM_VERSION));
    QCommandLineParser parser;
    QString error;
    if (!readCommandLine(&parser, &error)) {
        return say(BadInput, error + QStringLiteral("\nlumdsim --help lists the options."));
    }
    const int status = run(parser);
    return status == Good && std::ferror(stdout) != 0 ? NoEnvironment : status;
}
