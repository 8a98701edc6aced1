// SPDX-License-Identifier: MIT
#include "standins/terminal/signals.h"
#include "tools/harness/hostdaemon.h"
#include "tools/harness/settle.h"
#include "tools/lumdsim/hostconfig.h"
#include "tools/lumdsim/session.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTextCodec>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{

/// Reads the command line of this process. Prints the help or the version, where asked, and ends the process.
bool readCommandLine(QCommandLineParser *parser, QString *error)
{
    parser->setApplicationDescription(
        QString("Plays Android notifications on the desktop, as the host daemon does. A script has one\n"
                "JSON object a line: %1. See lumdsim(1).")
            .arg(exampleEvent));
    parser->addOptions({
        {"plugin", "Load this plug-in, not the one beside.", "file", pluginFile()},
        {"config", "Configuration of the host, an INI file.", "file"},
        {"desktop", "Notify on this session's desktop."},
        {"wait", "Stay until all is answered or gone."},
        {"pace", "Pause after each event.", "ms", "0"},
        {"json", "Print one JSON object a line."},
        {"logging-rules", "Log by these rules of Qt's.", "rules"},
        {{"h", "help"}, "Print this help."},
        {{"v", "version"}, "Print the version."},
    });
    parser->addPositionalArgument("script", "File to play, - for the standard input.", "[script]");
    if (!parser->parse(QCoreApplication::arguments())) {
        *error = parser->errorText();
        return false;
    }
    if (parser->isSet("help")) {
        parser->showHelp();
    }
    if (parser->isSet("version")) {
        parser->showVersion();
    }
    bool isNumber = false;
    const QString pace = parser->value("pace");
    if (parser->positionalArguments().size() > 1) {
        *error = QString("There can be one script only, not also \"%1\".").arg(parser->positionalArguments().at(1));
    } else if (pace.toInt(&isNumber) < 0 || !isNumber) {
        *error = QString("--pace takes milliseconds, not \"%1\".").arg(pace);
    }
    return error->isEmpty();
}

/// Loads the plug-in, plays the script and unloads it again. `screen` is null for a desktop.
int simulate(const QCommandLineParser &parser, lu_config_parser *config, const QFile &script, Output *output,
             Screen *screen)
{
    HostDaemon daemon(config);
    Player player(&daemon.host, screen, output);
    QObject::connect(&daemon, &HostDaemon::called, &player, &Player::called);
    QString error;
    if (!daemon.start(parser.value("plugin"), screen ? screen->server.address() : QString(), &error)) {
        return say(NoEnvironment, error);
    }
    Session session(script, &player);
    session.stays = parser.isSet("wait");
    session.pauseMs = parser.value("pace").toInt();
    int status = settle(LoadedPlugin::connection(), &error)
                     ? session.run()
                     : say(NoEnvironment, "No notification server answers: " + error);
    const bool takesDown = status == Good && !screen && !player.openKeys().isEmpty();
    daemon.stop();
    player.settle();
    if (takesDown) {
        say(Good, "The notifications were taken down again; with --wait they stay until you answer.");
    }
    for (const std::string &finding : lumd::takeFindings()) {
        status = say(Misuse, QString::fromStdString(finding));
    }
    if (lumd::liveRecords() != 0) {
        status = say(Misuse, QString("records never released: %1").arg(lumd::liveRecords()));
    }
    return status;
}

/// Prepares all that the plug-in needs, and simulates.
int run(const QCommandLineParser &parser)
{
    QLoggingCategory::setFilterRules(parser.value("logging-rules").replace(';', '\n'));
    QString error;
    const lumd::Config config = loadHostConfig(parser.value("config"), &error);
    if (!config) {
        return say(BadInput, error);
    }
    const QString name = parser.positionalArguments().value(0, "-");
    QFile script(name);
    const bool isOpen = name == "-" ? script.open(STDIN_FILENO, QIODevice::ReadOnly) : script.open(QIODevice::ReadOnly);
    if (!isOpen) {
        return say(BadInput, QString("%1: %2").arg(name, script.errorString()));
    }
    exitOnSignals();
    Output output(parser.isSet("json"));
    if (parser.isSet("desktop")) {
        return simulate(parser, config.get(), script, &output, nullptr);
    }
    Screen screen(&output);
    if (!screen.server.listen(&error)) {
        return say(NoEnvironment, error);
    }
    return simulate(parser, config.get(), script, &output, &screen);
}

} // namespace

int main(int argc, char **argv)
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) { // the first file opened would take its place
            return say(NoEnvironment, "The standard input or output is closed.");
        }
    }
    // Scripts are UTF-8, and so is the output, in the C locale too.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    // When nobody reads any more, the plug-in still wants to be unloaded.
    std::signal(SIGPIPE, SIG_IGN);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(LUMDSIM_VERSION);
    QCommandLineParser parser;
    QString error;
    if (!readCommandLine(&parser, &error)) {
        return say(BadInput, error + "\nlumdsim --help lists the options.");
    }
    const int status = run(parser);
    return status == Good && std::ferror(stdout) != 0 ? NoEnvironment : status;
}
