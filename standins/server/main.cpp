// SPDX-License-Identifier: MIT
#include "standins/server/server.h"
#include "standins/terminal/card.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>
#include <sys/signalfd.h>

namespace
{

enum ExitStatus { Failure = 1, Usage = 2 };

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
        fail(parser.errorText(), Usage);
    }
    parser.process(application);
    if (parser.isSet(address) == parser.isSet(session)) {
        fail(QStringLiteral("give either --address or --session"), Usage);
    }

    quitOnSignals(application);
    if (parser.isSet(child)) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
    }
    Server server;
    if (!(parser.isSet(session) ? server.serveBus(QDBusConnection::sessionBus())
                                : server.listen(parser.value(address)))) {
        fail(server.errorString(), Failure);
    }
    if (!parser.isSet(quiet)) {
        QObject::connect(&server, &Server::Shown, [](const DesktopNotification &notification, bool replaced) {
            print(renderShown(notification, replaced));
        });
        QObject::connect(&server, &Server::Closed,
                         [](uint id, uint reason) { print(renderClosed(id, QString(), reason)); });
    }
    print(parser.isSet(session) ? QStringLiteral("serving the session bus\n")
                                : QStringLiteral("listening on %1\n").arg(server.address()));
    return QCoreApplication::exec();
}
