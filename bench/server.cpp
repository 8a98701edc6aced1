// SPDX-License-Identifier: MIT
// Our notification server in a process of its own. It listens at the D-Bus address of its argument. The lines "dismiss
// ID" and "invoke ID NAME" of its standard input play the user; for "content" it prints its first notification, from
// which the bare client learns. It ends with its standard input.
#include "standins/server/server.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDataStream>
#include <QtCore/QSocketNotifier>

#include <iostream>

namespace
{

void obey(const std::string &command, Server *server)
{
    uint id = 0;
    std::string name;
    if (command == "dismiss" && std::cin >> id) {
        server->dismiss(id);
    } else if (command == "invoke" && std::cin >> id >> name) {
        server->invoke(id, QString::fromStdString(name));
    } else if (command == "content") {
        const DesktopNotification first = server->notifications().value(0);
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << first.appName << first.appIcon << first.summary << first.actions << first.hints
               << first.expireTimeout;
        std::cout << bytes.toBase64().toStdString() << std::endl;
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    auto *const server = new Server;
    QString error;
    if (argc != 2 || !server->listen(QString::fromLocal8Bit(argv[1]), &error)) {
        qFatal("usage: kavrel-bench-server ADDRESS %s", qPrintable(error));
    }
    std::cout << "ready" << std::endl;
    std::setvbuf(stdin, nullptr, _IONBF, 0); // buffered lines would not wake the notifier
    const QSocketNotifier input(fileno(stdin), QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [server] {
        std::string command;
        if (std::cin >> command) {
            obey(command, server);
        } else {
            QCoreApplication::quit();
        }
    });
    return QCoreApplication::exec();
}
