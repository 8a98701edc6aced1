// SPDX-License-Identifier: MIT
// One side of the comparisons: shows notifications through the plug-in, or by D-Bus calls alone. Carries out the lines
// "OPERATION COUNT" of its standard input, and prints for each the cost of one. As "foreign" it serves such a side.
// Arguments: "plugin", "bare" or "foreign"; the file where kavrel-bench-server reads the user's commands; for "bare"
// the content that it has printed.
#include "bench/foreignserver.h"
#include "bench/operations.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <iostream>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    registerDesktopNotificationTypes();
    const std::string kind = argc > 1 ? argv[1] : "";
    const char *const user = argc > 2 ? argv[2] : "/dev/null";
    ForeignServer server;
    std::unique_ptr<Operations> operations;
    if (kind == "plugin") {
        operations = std::make_unique<Operations>(std::make_unique<PluginClient>(), user);
    } else if (kind == "bare" && argc > 3) {
        operations = std::make_unique<Operations>(std::make_unique<BareClient>(argv[3]), user);
    } else if (!server.serve()) {
        qFatal("There is another notification server");
    }
    std::cout << "ready" << std::endl;
    // An event loop as a host has it, also while there is nothing to do.
    const QSocketNotifier input(fileno(stdin), QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        std::string name;
        int count = 0;
        if (!(std::cin >> name >> count)) {
            QCoreApplication::quit();
        } else if (operations) {
            operations->run(name, count);
        } else {
            std::cout << server.looks() << std::endl;
        }
    });
    return QCoreApplication::exec();
}
