// SPDX-License-Identifier: MIT
#include "standins/config-parser/configparser.h"
#include "tools/harness/loadedplugin.h"
#include "tools/harness/serverprocess.h"
#include "tools/lumdsim/configcheck.h"
#include "tools/lumdsim/hostobject.h"
#include "tools/lumdsim/player.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QLoggingCategory>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTextCodec>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>

#include <array>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace
{

enum Status { Good = 0, NoEnvironment = 1, BadInput = 2, Misuse = 3 };

Status complain(Status status, const QString &what)
{
    std::fprintf(stderr, "%s\n", what.toUtf8().constData());
    return status;
}

constexpr const char *epilogue = R"(
A script holds one JSON object a line, such as
  {"do":"add","key":"k","appName":"Chat","title":"Ada","text":"Hello","importance":3}
lumdsim(1) lists all that it can do. The plug-in logs warnings; to see every step of it:
  lumdsim --logging-rules com.velmo.lumd.plugin.notifications.debug=true
The environment variable QT_LOGGING_RULES does the same. With NO_COLOR set, terminals get no colours.

Exit status: 0 played to the end, 1 no plug-in, no server or no reader of the output, 2 a bad command line,
configuration or script, 3 the plug-in misused the host's records.
)";

/// What is wrong with the command line; empty when nothing is.
QString setUp(QCommandLineParser *parser)
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString built = programs.filePath(QStringLiteral("../lib/kavrel.so"));
    const QString installed = programs.filePath(QStringLiteral(LUMDSIM_PLUGIN));
    parser->setApplicationDescription(QStringLiteral(
        "Loads the plug-in as the host daemon does, plays a script of Android notifications, and prints\n"
        "what the desktop shows and what the host is told."));
    parser->addOptions({
        {QStringLiteral("plugin"), QStringLiteral("Plug-in to load, if not the one that came along."),
         QStringLiteral("file"), QDir::cleanPath(QFile::exists(built) ? built : installed)},
        {QStringLiteral("config"), QStringLiteral("Configuration of the host, an INI file."), QStringLiteral("file")},
        {QStringLiteral("desktop"), QStringLiteral("Notify on this session's desktop.")},
        {QStringLiteral("server"), QStringLiteral("Notify at this D-Bus address."), QStringLiteral("address")},
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

/// Serves what is called when the user invokes an action. What is in the way of notifying anybody; empty when
/// nothing is.
QString obstacle(QDBusConnection client, QObject *object, Player *player)
{
    const QString host = QStringLiteral("com.velmo.lumd");
    if (!client.isConnected()) {
        return QStringLiteral("There is no connection to a notification server: ") + client.lastError().message();
    }
    const bool onBus = !client.baseService().isEmpty();
    client.registerObject(QStringLiteral("/com/velmo/lumd"), object);
    if (onBus && !client.registerService(host)) {
        return QStringLiteral("Another host is on this session bus: the name %1 is taken.").arg(host);
    }
    if (!player->settle()) {
        return QStringLiteral("No notification server answers: ") + client.lastError().message();
    }
    return {};
}

Status playLine(const QByteArray &line, const QDir &base, const QString &place, Player *player)
{
    Event event;
    QString fault;
    if (readEvent(line, base, &event, &fault)) {
        fault = player->play(event);
    }
    if (!player->settle()) {
        return complain(NoEnvironment, place + QStringLiteral("the notification server does not answer"));
    }
    if (std::ferror(stdout)) {
        return NoEnvironment;
    }
    return fault.isEmpty() ? Good : complain(BadInput, place + fault);
}

/// Plays lines as they come, to the end or to the first that goes wrong; a typing user may go on after that.
int playScript(const QFile &file, Player *player)
{
    const QDir base = QFileInfo(file).dir(); // of standard input: the current one
    const QString name = file.fileName().isEmpty() ? QStringLiteral("standard input") : file.fileName();
    const bool typed = isatty(file.handle()) == 1;
    if (typed) {
        std::fputs(
            "Type one event a line, such as {\"do\":\"add\",\"key\":\"k\",\"title\":\"Hello\",\"importance\":3}; "
            "Ctrl-D ends.\n",
            stderr);
    }
    QByteArray buffer;
    int number = 0;
    QSocketNotifier notifier(file.handle(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&] {
        notifier.setEnabled(false); // `wait` runs an event loop
        std::array<char, 4096> bytes = {};
        const ssize_t count = read(file.handle(), bytes.data(), bytes.size());
        buffer.append(bytes.data(), static_cast<int>(qMax<ssize_t>(count, 0)));
        if (count <= 0 && !buffer.isEmpty()) {
            buffer.append('\n');
        }
        Status status = Good;
        for (int end = buffer.indexOf('\n'); end >= 0; end = buffer.indexOf('\n')) {
            const QString place = QStringLiteral("%1:%2: ").arg(name).arg(++number);
            status = playLine(buffer.left(end), base, place, player);
            buffer.remove(0, end + 1);
            if (status == NoEnvironment || (status == BadInput && !typed)) {
                return QCoreApplication::exit(status);
            }
        }
        if (count <= 0) {
            return QCoreApplication::quit();
        }
        notifier.setEnabled(true);
    });
    return QCoreApplication::exec();
}

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
int simulate(const QCommandLineParser &parser, lumd::Host *host, const QFile &script, Screen *screen)
{
    const bool desktop = parser.isSet(QStringLiteral("desktop"));
    const QString client = desktop ? QDBusConnection::sessionBus().name() : QStringLiteral("peerconnection");
    Output output(parser.isSet(QStringLiteral("json")));
    Player player(host, screen, &output, client);
    LoadedPlugin plugin(parser.value(QStringLiteral("plugin")));
    if (!plugin.errorString().isEmpty() || plugin.load(*host) != 0) {
        return complain(NoEnvironment, plugin.errorString());
    }
    QObject object;
    new HostObject(&object, &output);
    const QString fault = obstacle(QDBusConnection(client), &object, &player);
    const int status = fault.isEmpty() ? playScript(script, &player) : complain(NoEnvironment, fault);
    plugin.unload();
    player.settle();
    return recordsMisused() ? Misuse : status;
}

} // namespace

int main(int argc, char **argv)
{
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
    if (name == QLatin1String("-") ? !script.open(STDIN_FILENO, QIODevice::ReadOnly)
                                   : !script.open(QIODevice::ReadOnly)) {
        return complain(BadInput, QStringLiteral("%1: %2").arg(name, script.errorString()));
    }

    ServerProcess server;
    Screen screen;
    QString address = parser.value(QStringLiteral("server"));
    if (!parser.isSet(QStringLiteral("desktop"))) {
        if (address.isEmpty() && server.listen()) {
            address = server.address();
        }
        if (address.isEmpty() || !screen.connectTo(address)) {
            return complain(NoEnvironment, QStringLiteral("There is no notification server."));
        }
    }
    constexpr const char *variable = "LUMD_P2P_DBUS_ADDRESS"; // without it, the session bus
    address.isEmpty() ? qunsetenv(variable) : qputenv(variable, address.toUtf8());
    lumd::Host host(config.get());
    return simulate(parser, &host, script, &screen);
}
