// SPDX-License-Identifier: MIT
#include "standins/terminal/signals.h"
#include "tools/harness/hostdaemon.h"
#include "tools/harness/settle.h"
#include "tools/lumd-adb/device.h"
#include "tools/lumd-adb/dumpreader.h"
#include "tools/lumd-adb/mirror.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QTextCodec>

#include <cstdio>

namespace
{

enum Status { NoEnvironment = 1, BadInput = 2 };

constexpr const char *description =
    R"(Shows the notifications of an Android device on this desktop, until Ctrl-C.

Connect the device with USB debugging on. A click starts the application on
the device, or runs a command of yours, here a screen mirror:
  lumd-adb --open 'scrcpy --new-display --start-app=$PACKAGE_NAME'
To report a bug, record the device's notifications, and make a script of them:
  adb shell dumpsys notification --noredact >dump
  lumd-adb --dump dump --print >script
lumd-adb(1) says more.)";

int complain(Status status, const QString &line)
{
    std::fprintf(stderr, "lumd-adb: %s\n", qUtf8Printable(line));
    return status;
}

void runDetached(const QString &command, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProgram(QStringLiteral("/bin/sh"));
    process.setArguments({QStringLiteral("-c"), command});
    process.setProcessEnvironment(environment);
    process.startDetached();
}

/// Until a signal comes, or until nothing of the recorded dump is on the desktop any more.
int show(const QCommandLineParser &parser, const std::vector<PhoneNotification> *recorded)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment(); // the daemon changes it
    Device device(parser.value(QStringLiteral("serial")));
    HostDaemon daemon(nullptr);
    Mirror mirror(&daemon.host);
    mirror.onTap = [&](const QString &package) {
        if (parser.isSet(QStringLiteral("open"))) {
            environment.insert(QStringLiteral("PACKAGE_NAME"), package);
            runDetached(parser.value(QStringLiteral("open")), environment);
        } else if (!recorded) {
            device.open(package);
        }
    };
    mirror.onDismissed = [&] {
        if (recorded && mirror.isEmpty()) {
            QCoreApplication::quit();
        }
    };
    QObject::connect(&device, &Device::listed, &daemon, [&](const auto &list) { mirror.show(list); });
    QObject::connect(&device, &Device::left, &daemon, [&] { mirror.removeAll(); });
    QObject::connect(&device, &Device::said, &daemon, [](const QString &line) { complain(NoEnvironment, line); });
    QString error;
    if ((!recorded && !device.start(&error)) || !daemon.start(pluginFile(), {}, &error)) {
        return complain(NoEnvironment, error);
    }
    exitOnSignals();
    if (recorded) {
        mirror.show(*recorded);
    }
    const int status = QCoreApplication::exec();
    daemon.stop();
    settle(QDBusConnection::sessionBus());
    return status;
}

int showDump(const QCommandLineParser &parser, const QString &name)
{
    QFile file(name);
    const bool isOpen =
        name == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    const QByteArray dump = isOpen ? file.readAll() : QByteArray();
    DumpReader reader({dump.constData(), static_cast<size_t>(dump.size())});
    QString error;
    if (!isOpen || !reader.read(&error)) {
        return complain(BadInput, QStringLiteral("%1: %2").arg(name, isOpen ? error : file.errorString()));
    }
    if (!parser.isSet(QStringLiteral("print")) && !reader.notifications().empty()) {
        return show(parser, &reader.notifications());
    }
    for (const PhoneNotification &notification : reader.notifications()) {
        std::puts(QJsonDocument(notification.scriptLine()).toJson(QJsonDocument::Compact).constData());
    }
    return std::fflush(stdout) == 0 ? 0 : complain(NoEnvironment, qt_error_string());
}

} // namespace

int main(int argc, char **argv)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // in the C locale too
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(LUMD_ADB_VERSION));
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(description));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {{QStringLiteral("s"), QStringLiteral("serial")},
         QStringLiteral("Show this device."),
         QStringLiteral("serial")},
        {QStringLiteral("open"), QStringLiteral("Run this on a click, with PACKAGE_NAME set."),
         QStringLiteral("command")},
        {QStringLiteral("dump"), QStringLiteral("Show a recorded dump; - is standard input."), QStringLiteral("file")},
        {QStringLiteral("print"), QStringLiteral("Print the dump as a lumdsim script instead.")},
    });
    parser.process(application);
    const QString dump = parser.value(QStringLiteral("dump"));
    if (!parser.positionalArguments().isEmpty() || (parser.isSet(QStringLiteral("print")) && dump.isEmpty())) {
        return complain(BadInput, QStringLiteral("Nothing but options can be given, and --print needs --dump."));
    }
    return dump.isEmpty() ? show(parser, nullptr) : showDump(parser, dump);
}
