#include "configparser.h"
#include "hostobject.h"
#include "player.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextCodec>
#include <QtCore/QUrl>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>

#include <array>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

enum Status { Good = 0, NoEnvironment = 1, BadInput = 2, Misuse = 3 };

Status complain(Status status, const QString &what)
{
    std::fprintf(stderr, "%s\n", what.toUtf8().constData());
    return status;
}

bool setUp(QCommandLineParser *parser)
{
    const QFileInfo built(QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/kavrel.so"));
    const QString plugin = built.exists() ? built.filePath() : QStringLiteral(LUMDSIM_PLUGIN);
    parser->setApplicationDescription(
        QStringLiteral("Loads the plug-in as the host daemon does and plays a script of Android notifications."));
    parser->addOptions({
        {QStringLiteral("plugin"), QStringLiteral("Plug-in to load."), QStringLiteral("file"), plugin},
        {QStringLiteral("config"), QStringLiteral("Configuration of the host."), QStringLiteral("file")},
        {QStringLiteral("desktop"), QStringLiteral("Notify on this session's desktop.")},
        {QStringLiteral("server"), QStringLiteral("Notify at this D-Bus address."), QStringLiteral("address")},
        {QStringLiteral("json"), QStringLiteral("Print one JSON object a line.")},
    });
    parser->addPositionalArgument(QStringLiteral("script"), QStringLiteral("JSON Lines; - is standard input."),
                                  QStringLiteral("[script]"));
    parser->addHelpOption();
    parser->addVersionOption();
    return parser->parse(QCoreApplication::arguments()) && parser->positionalArguments().size() <= 1 &&
           !(parser->isSet(QStringLiteral("desktop")) && parser->isSet(QStringLiteral("server")));
}

RenderOptions renderOptions()
{
    RenderOptions options;
    winsize window = {};
    options.colour = isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR");
    options.width = ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
    return options;
}

/// The address at which our notification server listens; empty when it does not.
QString startServer(QProcess *process, const QString &directory)
{
    const QString name = QStringLiteral("kavrel-notification-server");
    const QFileInfo sibling(QCoreApplication::applicationDirPath(), name);
    // D-Bus addresses take nearly every special character as %XX only, "~" too.
    const QByteArray socket = QUrl::toPercentEncoding(directory + QStringLiteral("/bus"), "/", "~");
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(sibling.isExecutable() ? sibling.filePath() : name,
                   {QStringLiteral("--address"), QStringLiteral("unix:path=") + QString::fromLatin1(socket),
                    QStringLiteral("--quiet"), QStringLiteral("--exit-with-parent")});
    while (!process->canReadLine() && process->waitForReadyRead(5000)) {
    }
    const QString line = QString::fromUtf8(process->readLine()).trimmed();
    const QString greeting = QStringLiteral("listening on ");
    return line.startsWith(greeting) ? line.mid(greeting.size()) : QString();
}

/// Null, with a message printed, when the library is not a notifications plug-in.
const lu_plugin_def *definition(void *library)
{
    const void *const symbol = library ? dlsym(library, "_lu_plugin_def") : nullptr;
    const auto *const plugin = static_cast<const lu_plugin_def *>(symbol);
    if (plugin && plugin->version >> 16 == 1 && std::strcmp(plugin->type, "notifications") == 0) {
        return plugin;
    }
    complain(NoEnvironment, plugin ? QStringLiteral("The plug-in is not a notifications plug-in of version 1.")
                                   : QString::fromUtf8(dlerror()));
    return nullptr;
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
    return fault.isEmpty() ? Good : complain(BadInput, place + fault);
}

/// Plays lines as they come, to the end or to the first that goes wrong; a typing user may go on after that.
int playScript(const QFile &file, Player *player)
{
    const QDir base = QFileInfo(file).dir(); // of standard input: the current one
    const QString name = file.fileName().isEmpty() ? QStringLiteral("standard input") : file.fileName();
    const bool typed = isatty(file.handle()) == 1;
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
    Output output(parser.isSet(QStringLiteral("json")), renderOptions());
    Player player(host, screen, &output, client);
    const QByteArray file = QFile::encodeName(parser.value(QStringLiteral("plugin")));
    void *const library = dlopen(file.constData(), RTLD_NOW | RTLD_LOCAL);
    const lu_plugin_def *const plugin = definition(library);
    lu_plugin_context context = {host->handle(), nullptr};
    if (!plugin || plugin->load(&context) != 0) {
        return NoEnvironment;
    }
    QObject object;
    new HostObject(&object, &output);
    const QString fault = obstacle(QDBusConnection(client), &object, &player);
    const int status = fault.isEmpty() ? playScript(script, &player) : complain(NoEnvironment, fault);
    plugin->unload(&context);
    player.settle();
    dlclose(library);
    return recordsMisused() ? Misuse : status;
}

} // namespace

int main(int argc, char **argv)
{
    // Scripts are UTF-8, and so is what is printed, in the C locale too.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(LUMDSIM_VERSION));
    QCommandLineParser parser;
    if (!setUp(&parser)) {
        return complain(BadInput, (parser.errorText() + QLatin1Char('\n') + parser.helpText()).trimmed());
    }
    parser.process(application);

    std::string error;
    const std::string configFile = parser.value(QStringLiteral("config")).toStdString();
    const lumd::Config config = configFile.empty() ? nullptr : lumd::loadConfig(configFile, &error);
    if (!error.empty()) {
        return complain(BadInput, QString::fromStdString(error));
    }
    const QString name = parser.positionalArguments().value(0, QStringLiteral("-"));
    QFile script(name);
    if (name == QLatin1String("-") ? !script.open(STDIN_FILENO, QIODevice::ReadOnly)
                                   : !script.open(QIODevice::ReadOnly)) {
        return complain(BadInput, QStringLiteral("%1: %2").arg(name, script.errorString()));
    }

    const QTemporaryDir directory;
    QProcess server;
    Screen screen;
    QString address = parser.value(QStringLiteral("server"));
    if (!parser.isSet(QStringLiteral("desktop"))) {
        address = address.isEmpty() ? startServer(&server, directory.path()) : address;
        if (address.isEmpty() || !screen.connectTo(address)) {
            return complain(NoEnvironment, QStringLiteral("There is no notification server."));
        }
    }
    constexpr const char *variable = "LUMD_P2P_DBUS_ADDRESS"; // without it, the session bus
    address.isEmpty() ? qunsetenv(variable) : qputenv(variable, address.toUtf8());
    lumd::Host host(config.get());
    const int status = simulate(parser, &host, script, &screen);
    server.terminate();
    server.waitForFinished(2000);
    return status;
}
