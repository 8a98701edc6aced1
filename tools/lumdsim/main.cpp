// SPDX-License-Identifier: MIT
#include "standins/config-parser/configparser.h"
#include "standins/terminal/signals.h"
#include "standins/terminal/text.h"
#include "tools/harness/hostdaemon.h"
#include "tools/harness/serverprocess.h"
#include "tools/lumdsim/commandline.h"
#include "tools/lumdsim/configcheck.h"
#include "tools/lumdsim/input.h"
#include "tools/lumdsim/player.h"
#include "tools/lumdsim/status.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTextCodec>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace
{

/// Plays lines as they come, to the end or to the first that goes wrong; a typing user may go on after that. With
/// `stay`, goes on until the screen is empty.
int playScript(const QFile &file, Player *player, const Screen *screen, bool stay)
{
    const QDir base = QFileInfo(file).dir(); // of standard input: the current one
    const QString name = file.fileName().isEmpty() ? QStringLiteral("standard input") : file.fileName();
    const bool typed = isatty(file.handle()) == 1;
    if (typed) {
        complain(Good, QStringLiteral("Type one event a line, such as {\"do\":\"add\",\"key\":\"k\","
                                      "\"title\":\"Hello\"}; Ctrl-D ends."));
    }
    Input input(file.handle());
    int number = 0;
    QObject::connect(&input, &Input::lineRead, [&](const QByteArray &line) {
        Event event;
        QString fault;
        ++number;
        if (readEvent(line, base, &event, &fault)) {
            fault = player->play(event, number);
        }
        if (!player->isAnswered()) {
            fault = QStringLiteral("the notification server does not answer");
        }
        if (!fault.isEmpty()) {
            complain(BadInput, QStringLiteral("%1:%2: %3").arg(name).arg(number).arg(fault));
        }
        if (!player->isAnswered() || std::ferror(stdout) != 0) {
            QCoreApplication::exit(NoEnvironment);
        } else if (!fault.isEmpty() && !typed) {
            QCoreApplication::exit(BadInput);
        }
    });
    bool ended = false;
    const auto endWhenDone = [&] {
        if (std::ferror(stdout) != 0) {
            QCoreApplication::exit(NoEnvironment);
        } else if (ended && (!stay || screen->isEmpty())) {
            QCoreApplication::quit();
        }
    };
    QObject::connect(player, &Player::settled, &input, endWhenDone);
    const QSocketNotifier readerGone(STDOUT_FILENO, QSocketNotifier::Exception);
    QObject::connect(&readerGone, &QSocketNotifier::activated, [] { QCoreApplication::exit(NoEnvironment); });
    QObject::connect(&input, &Input::ended, [&](int error) {
        ended = true;
        error == 0 ? endWhenDone()
                   : QCoreApplication::exit(complain(BadInput, name + QStringLiteral(": ") + qt_error_string(error)));
    });
    const int status = QCoreApplication::exec();
    return lastSignal() != 0 ? Interrupted + lastSignal() : status; // the input may have ended as well
}

/// Says which records the host had back in a bad state, or not at all.
bool recordsMisused()
{
    std::vector<std::string> findings = lumd::takeFindings();
    if (lumd::liveRecords() != 0) {
        findings.push_back("records never released: " + std::to_string(lumd::liveRecords()));
    }
    for (const std::string &finding : findings) {
        complain(Misuse, QString::fromStdString(finding));
    }
    return !findings.empty();
}

/// Loads the plug-in, plays the script and unloads it again.
int simulate(const QCommandLineParser &parser, HostDaemon *daemon, const QFile &script, const QString &server)
{
    Output output(parser.isSet(QStringLiteral("json")));
    Screen screen;
    Player player(&daemon->host, &screen, &output);
    QObject::connect(
        daemon, &HostDaemon::called, &screen,
        [&output](const QString &method, const QStringList &arguments) { output.invoked(method, arguments); });
    QString error;
    if (!daemon->start(parser.value(QStringLiteral("plugin")), server, &error)) {
        return complain(NoEnvironment, error);
    }
    const QString obstacle = screen.watch(daemon->connection());
    const int status = obstacle.isEmpty() ? playScript(script, &player, &screen, parser.isSet(QStringLiteral("wait")))
                                          : complain(NoEnvironment, obstacle);
    daemon->stop();
    player.settle();
    return recordsMisused() ? Misuse : status;
}

/// Opens the file with this name or, for "-", the standard input. What is in the way; empty when nothing is.
QString openScript(const QString &name, bool hasInput, QFile *script)
{
    if (name != QLatin1String("-")) {
        script->setFileName(name);
        return script->open(QIODevice::ReadOnly) ? QString()
                                                 : QStringLiteral("%1: %2").arg(name, script->errorString());
    }
    return hasInput && script->open(STDIN_FILENO, QIODevice::ReadOnly)
               ? QString()
               : QStringLiteral("The standard input is closed.");
}

/// Makes ready all that the plug-in needs, and simulates.
int run(const QCommandLineParser &parser, bool hasInput)
{
    QLoggingCategory::setFilterRules(
        parser.value(QStringLiteral("logging-rules")).replace(QLatin1Char(';'), QLatin1Char('\n')));
    std::string error;
    const QString configFile = parser.value(QStringLiteral("config"));
    const lumd::Config config = configFile.isEmpty() ? nullptr : lumd::loadConfig(configFile.toStdString(), &error);
    if (!error.empty()) {
        return complain(BadInput, QString::fromStdString(error));
    }
    checkConfig(configFile);
    QFile script;
    const QString obstacle = openScript(parser.positionalArguments().value(0, QStringLiteral("-")), hasInput, &script);
    if (!obstacle.isEmpty()) {
        return complain(BadInput, obstacle);
    }

    onSignals({SIGINT, SIGTERM, SIGHUP}, [](int signal) { QCoreApplication::exit(Interrupted + signal); });
    ServerProcess server;
    QString address = parser.value(QStringLiteral("server")); // stays empty for the desktop
    if (address.isEmpty() && !parser.isSet(QStringLiteral("desktop"))) {
        if (!server.listen()) {
            return complain(NoEnvironment, QStringLiteral("kavrel-notification-server cannot be started."));
        }
        address = server.address();
    }
    HostDaemon daemon(config.get());
    return simulate(parser, &daemon, script, address);
}

} // namespace

int main(int argc, char **argv)
{
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0) { // or what is opened first would be taken for it
        return complain(NoEnvironment, QStringLiteral("The standard output is closed."));
    }
    const bool hasInput = fcntl(STDIN_FILENO, F_GETFD) >= 0;
    // Scripts are UTF-8, and so is what is printed, in the C locale too.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    // When nobody reads any more, the plug-in still wants to be unloaded.
    std::signal(SIGPIPE, SIG_IGN);
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QString fault = parseCommandLine(&parser);
    if (!fault.isEmpty()) {
        return complain(BadInput, fault + QStringLiteral("\nlumdsim --help lists what there is."));
    }
    int status = Good;
    if (parser.isSet(QStringLiteral("version"))) {
        print(QStringLiteral("lumdsim " LUMDSIM_VERSION "\n"));
    } else if (parser.isSet(QStringLiteral("help"))) {
        print(helpText(parser));
    } else {
        status = run(parser, hasInput);
    }
    return status == Good && std::ferror(stdout) != 0 ? NoEnvironment : status;
}
