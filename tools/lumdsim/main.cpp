// SPDX-License-Identifier: MIT
#include "standins/config-parser/configparser.h"
#include "standins/terminal/signals.h"
#include "standins/terminal/text.h"
#include "tools/harness/loadedplugin.h"
#include "tools/harness/serverprocess.h"
#include "tools/lumdsim/configcheck.h"
#include "tools/lumdsim/hostobject.h"
#include "tools/lumdsim/input.h"
#include "tools/lumdsim/player.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextCodec>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace
{

enum Status { Good = 0, NoEnvironment = 1, BadInput = 2, Misuse = 3, Interrupted = 128 };

Status complain(Status status, const QString &what)
{
    std::fprintf(stderr, "%s\n", what.toUtf8().constData());
    return status;
}

constexpr const char *epilogue = R"(
A script holds one JSON object a line, such as
  {"do":"add","key":"k","appName":"Chat","title":"Ada","text":"Hello"}
lumdsim(1) lists all that it can do. The plug-in logs warnings; this shows all:
  lumdsim --logging-rules com.velmo.lumd.plugin.notifications.debug=true
QT_LOGGING_RULES in the environment does the same, and with NO_COLOR set,
terminals get no colours.

Exit status: 0 played to the end, 1 no plug-in, no server or no reader of the
output, 2 a bad command line, configuration or script, 3 the plug-in misused
the host's records, 128 and more ended by a signal.
)";

/// What is wrong with the command line; empty when nothing is.
QString setUp(QCommandLineParser *parser)
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString built = programs.filePath(QStringLiteral("../lib/kavrel.so"));
    const QString installed = programs.filePath(QStringLiteral(LUMDSIM_PLUGIN));
    parser->setApplicationDescription(
        QStringLiteral("Loads the plug-in as the host daemon does, plays a script of Android\n"
                       "notifications, and prints what the desktop shows and what the host is told."));
    parser->addOptions({
        {QStringLiteral("plugin"), QStringLiteral("Plug-in to load, if not the one that came along."),
         QStringLiteral("file"), QDir::cleanPath(QFile::exists(built) ? built : installed)},
        {QStringLiteral("config"), QStringLiteral("Configuration of the host, an INI file."), QStringLiteral("file")},
        {QStringLiteral("desktop"), QStringLiteral("Notify on this session's desktop.")},
        {QStringLiteral("server"), QStringLiteral("Notify at this D-Bus address."), QStringLiteral("address")},
        {QStringLiteral("wait"), QStringLiteral("Stay until all that was shown is gone.")},
        {QStringLiteral("json"), QStringLiteral("Print one JSON object a line.")},
        {QStringLiteral("logging-rules"), QStringLiteral("What to log, in Qt's words."), QStringLiteral("rules")},
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Print the version.")},
    });
    parser->addPositionalArgument(QStringLiteral("script"),
                                  QStringLiteral("File to play; the standard input if there is none, or for -."),
                                  QStringLiteral("[script]"));
    if (!parser->parse(QCoreApplication::arguments())) {
        return parser->errorText();
    }
    if (parser->positionalArguments().size() > 1) {
        return QStringLiteral("There can be one script only.");
    }
    return parser->isSet(QStringLiteral("desktop")) && parser->isSet(QStringLiteral("server"))
               ? QStringLiteral("Give either --desktop or --server.")
               : QString();
}

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
        if (ended && (!stay || screen->isEmpty())) {
            QCoreApplication::quit();
        }
    };
    QObject::connect(player, &Player::settled, &input, endWhenDone);
    QObject::connect(&input, &Input::ended, [&](int error) {
        ended = true;
        error == 0 ? endWhenDone()
                   : QCoreApplication::exit(complain(BadInput, name + QStringLiteral(": ") + qt_error_string(error)));
    });
    return QCoreApplication::exec();
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

/// What is in the way of being the host on the session bus; empty when nothing is. To be asked before anything is
/// shown: another host's notifications are not ours to clear.
QString claimBus(QDBusConnection bus)
{
    const QString host = QStringLiteral("com.velmo.lumd");
    if (!bus.isConnected()) {
        return QStringLiteral("There is no session bus: ") + bus.lastError().message();
    }
    return bus.registerService(host)
               ? QString()
               : QStringLiteral("Another host is on this session bus: the name %1 is taken.").arg(host);
}

/// Loads the plug-in, plays the script and unloads it again.
int simulate(const QCommandLineParser &parser, lumd::Host *host, const QFile &script, const QString &connection)
{
    Output output(parser.isSet(QStringLiteral("json")));
    Screen screen;
    Player player(host, &screen, &output);
    LoadedPlugin plugin(parser.value(QStringLiteral("plugin")));
    if (!plugin.errorString().isEmpty() || plugin.load(*host) != 0) {
        return complain(NoEnvironment, plugin.errorString());
    }
    QObject object;
    new HostObject(&object, &output);
    QDBusConnection client(connection); // there is one now
    client.registerObject(QStringLiteral("/com/velmo/lumd"), &object);
    const QString obstacle = screen.watch(client);
    const int status = obstacle.isEmpty() ? playScript(script, &player, &screen, parser.isSet(QStringLiteral("wait")))
                                          : complain(NoEnvironment, obstacle);
    plugin.unload();
    player.settle();
    return recordsMisused() ? Misuse : status;
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
    QCoreApplication::setApplicationVersion(QStringLiteral(LUMDSIM_VERSION));
    QCommandLineParser parser;
    const QString fault = setUp(&parser);
    if (!fault.isEmpty()) {
        return complain(BadInput, fault + QStringLiteral("\nlumdsim --help lists what there is."));
    }
    if (parser.isSet(QStringLiteral("version"))) {
        parser.showVersion();
    }
    if (parser.isSet(QStringLiteral("help"))) {
        print(parser.helpText() + QString::fromLatin1(epilogue));
        return Good;
    }
    QLoggingCategory::setFilterRules(
        parser.value(QStringLiteral("logging-rules")).replace(QLatin1Char(';'), QLatin1Char('\n')));

    std::string error;
    const std::string configFile = parser.value(QStringLiteral("config")).toStdString();
    const lumd::Config config = configFile.empty() ? nullptr : lumd::loadConfig(configFile, &error);
    if (!error.empty()) {
        return complain(BadInput, QString::fromStdString(error));
    }
    checkConfig(parser.value(QStringLiteral("config")));
    const QString name = parser.positionalArguments().value(0, QStringLiteral("-"));
    QFile script(name);
    if (name == QLatin1String("-") ? !hasInput || !script.open(STDIN_FILENO, QIODevice::ReadOnly)
                                   : !script.open(QIODevice::ReadOnly)) {
        return complain(BadInput, hasInput ? QStringLiteral("%1: %2").arg(name, script.errorString())
                                           : QStringLiteral("The standard input is closed."));
    }

    onSignals({SIGINT, SIGTERM, SIGHUP}, [](int signal) { QCoreApplication::exit(Interrupted + signal); });
    const QTemporaryDir cache; // a host that runs has its icons in the usual place
    qputenv("TMPDIR", QFile::encodeName(cache.path()));
    ServerProcess server;
    QString address = parser.value(QStringLiteral("server"));
    QString connection = QStringLiteral("peerconnection"); // as the plug-in calls it
    if (parser.isSet(QStringLiteral("desktop"))) {
        connection = QDBusConnection::sessionBus().name();
        const QString obstacle = claimBus(QDBusConnection::sessionBus());
        if (!obstacle.isEmpty()) {
            return complain(NoEnvironment, obstacle);
        }
    } else if (address.isEmpty()) {
        server.listen();
        address = server.address();
    }
    constexpr const char *variable = "LUMD_P2P_DBUS_ADDRESS"; // without it, the session bus
    address.isEmpty() ? qunsetenv(variable) : qputenv(variable, address.toUtf8());
    lumd::Host host(config.get());
    return simulate(parser, &host, script, connection);
}
