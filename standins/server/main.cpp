// SPDX-License-Identifier: MIT
#include "standins/server/server.h"
#include "standins/terminal/card.h"
#include "standins/terminal/signals.h"
#include "standins/terminal/text.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QHash>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>

namespace
{

enum ExitStatus { Success = 0, Failure = 1, Usage = 2 };

ExitStatus complain(const QString &text, ExitStatus status)
{
    std::fprintf(stderr, "kavrel-notification-server: %s\n", qUtf8Printable(text));
    return status;
}

/// Draws what the server does, with the identifiers that its D-Bus methods take.
void draw(const Server &server)
{
    const auto label = [](uint id) { return QStringLiteral("#%1 ").arg(id); };
    static QHash<uint, DesktopNotification> held;
    QObject::connect(&server, &Server::Shown, [=](DesktopNotification notification, bool replaced) {
        notification.hints = plainMap(notification.hints);
        print(renderShown(notification, replaced, label(notification.id)) + QLatin1Char('\n'));
        held.insert(notification.id, notification);
    });
    QObject::connect(&server, &Server::Closed,
                     [=](uint id, uint reason) { print(renderClosed(held.take(id), reason, label(id))); });
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(KAVREL_VERSION));
    const QCommandLineOption address(QStringLiteral("address"),
                                     QStringLiteral("Listen on a D-Bus address, such as unix:path=/run/user/1000/n."),
                                     QStringLiteral("address"));
    const QCommandLineOption session(QStringLiteral("session"), QStringLiteral("Serve the session bus."));
    const QCommandLineOption quiet(QStringLiteral("quiet"), QStringLiteral("Draw nothing."));
    const QCommandLineOption child(QStringLiteral("exit-with-parent"), QStringLiteral("Quit when the parent dies."));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A desktop notification server that draws on a terminal."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({address, session, quiet, child});
    if (!parser.parse(QCoreApplication::arguments())) {
        return complain(parser.errorText(), Usage);
    }
    parser.process(application);
    if (parser.isSet(address) == parser.isSet(session)) {
        return complain(QStringLiteral("give either --address or --session"), Usage);
    }

    onSignals({SIGTERM, SIGINT, SIGHUP}, [](int) { QCoreApplication::quit(); });
    if (parser.isSet(child)) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        std::signal(SIGINT, SIG_IGN); // a terminal sends these to both, and the parent still needs the server
        std::signal(SIGHUP, SIG_IGN);
    }
    // Never destroyed: Qt's D-Bus thread may hang when the process ends right after a QDBusServer.
    static auto *const server = new Server;
    if (!(parser.isSet(session) ? server->serveBus(QDBusConnection::sessionBus())
                                : server->listen(parser.value(address)))) {
        return complain(server->errorString(), Failure);
    }
    QObject::connect(server, &Server::busLost, &application,
                     [] { QCoreApplication::exit(complain(QStringLiteral("the session bus is gone"), Failure)); });
    if (!parser.isSet(quiet)) {
        draw(*server);
    }
    print(parser.isSet(session) ? QStringLiteral("serving the session bus\n")
                                : QStringLiteral("listening on %1\n").arg(server->address()));
    const int status = QCoreApplication::exec();
    server->removeSocket();
    return status;
}
