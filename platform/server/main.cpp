#include "render.h"
#include "server.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <sys/signalfd.h>
#include <unistd.h>

namespace
{

enum ExitStatus { Ok = 0, Failure = 1, Usage = 2 };

void print(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

[[noreturn]] void fail(const QString &text, ExitStatus status)
{
    std::fprintf(stderr, "kavrel-notification-server: %s\n", qPrintable(text));
    std::exit(status); // NOLINT(concurrency-mt-unsafe): nothing else runs yet
}

/// Quits on SIGTERM and SIGINT, so that the socket file goes too.
void quitOnSignals(QCoreApplication &application)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    auto *const notifier =
        new QSocketNotifier(signalfd(-1, &signals, SFD_CLOEXEC), QSocketNotifier::Read, &application);
    QObject::connect(notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
}

void quitAtEndOfInput(QCoreApplication &application)
{
    auto *const notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, &application);
    QObject::connect(notifier, &QSocketNotifier::activated, &application, [] {
        char bytes[256];
        if (read(STDIN_FILENO, bytes, sizeof bytes) <= 0) {
            QCoreApplication::quit();
        }
    });
}

bool wantsColour(const QString &when)
{
    if (when == QLatin1String("auto")) {
        return isatty(STDOUT_FILENO) && qEnvironmentVariableIsEmpty("NO_COLOR");
    }
    return when == QLatin1String("always");
}

void renderTo(const Server &server, const RenderOptions &options)
{
    QObject::connect(&server, &Server::Shown, &server,
                     [options](const DesktopNotification &notification, bool replaced) {
                         print(renderShown(notification, replaced, options));
                     });
    QObject::connect(&server, &Server::Closed, &server,
                     [options](uint id, uint reason) { print(renderClosed(id, QString(), reason, options)); });
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(KAVREL_VERSION));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A desktop notification server that draws on a terminal."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {QStringLiteral("address"), QStringLiteral("Listen on a D-Bus address, such as unix:path=/run/n/bus."),
         QStringLiteral("address")},
        {QStringLiteral("session"), QStringLiteral("Serve the session bus.")},
        {QStringLiteral("quiet"), QStringLiteral("Draw nothing.")},
        {QStringLiteral("colour"), QStringLiteral("auto, always or never."), QStringLiteral("when"),
         QStringLiteral("auto")},
        {QStringLiteral("exit-with-parent"), QStringLiteral("Quit at the end of the standard input.")},
    });
    if (!parser.parse(QCoreApplication::arguments())) {
        fail(parser.errorText(), Usage);
    }
    if (parser.isSet(QStringLiteral("help"))) {
        parser.showHelp();
    }
    if (parser.isSet(QStringLiteral("version"))) {
        parser.showVersion();
    }
    const QString address = parser.value(QStringLiteral("address"));
    const bool session = parser.isSet(QStringLiteral("session"));
    if (address.isEmpty() == !session) {
        fail(QStringLiteral("give either --address or --session"), Usage);
    }

    quitOnSignals(application);
    Server server;
    if (!(session ? server.serveBus(QDBusConnection::sessionBus()) : server.listen(address))) {
        fail(server.errorString(), Failure);
    }
    if (!parser.isSet(QStringLiteral("quiet"))) {
        renderTo(server, {wantsColour(parser.value(QStringLiteral("colour")))});
    }
    if (parser.isSet(QStringLiteral("exit-with-parent"))) {
        quitAtEndOfInput(application);
    }
    print(session ? QStringLiteral("serving the session bus\n")
                  : QStringLiteral("listening on %1\n").arg(server.address()));
    return QCoreApplication::exec();
}
