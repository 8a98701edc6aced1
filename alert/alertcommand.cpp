// SPDX-License-Identifier: MIT
// All of Qt 5 has the QProcess::start() that splits a command line. Qt 5.15 deprecates it, and only 5.15 has
// QProcess::splitCommand() instead.
#undef QT_DISABLE_DEPRECATED_BEFORE
#define QT_DISABLE_DEPRECATED_BEFORE 0x050e00
#define QT_NO_DEPRECATED_WARNINGS
#include "alert/alertcommand.h"

#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QSocketNotifier>

#include <memory>
#include <unistd.h>

namespace
{

constexpr int waitMs = 30000;

/// Drops the command's output while it runs: kept until the end, it could exhaust the host's memory.
void discardOutput(QProcess &process)
{
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process,
                     [&process] { process.readAllStandardOutput(); });
    QObject::connect(&process, &QProcess::readyReadStandardError, &process,
                     [&process] { process.readAllStandardError(); });
}

struct ProcessState : QProcess {
    using QProcess::setProcessState;
};

/// Destroys a process object whose command could not be forked. On kernels with process descriptors Qt 5.15 misses that
/// error: it treats the command as running, with process number -1 and an uninitialised descriptor. Its destructor
/// would kill number -1, which means every process of the user, and close that descriptor.
void destroyUnforked(std::unique_ptr<QProcess> process)
{
    (process.get()->*&ProcessState::setProcessState)(QProcess::NotRunning); // the destructor kills nothing
    // Qt watches each descriptor with a notifier. The last one watches the descriptor that it assumes is the process's.
    const QList<QSocketNotifier *> notifiers = process->findChildren<QSocketNotifier *>();
    if (notifiers.isEmpty() ||
        static_cast<uint>(notifiers.last()->socket()) < static_cast<ulong>(sysconf(_SC_OPEN_MAX))) {
        // Its destructor might close a file of the host, so it is kept. Alerts run one at a time: no lock is needed.
        static auto *const kept = new QList<QProcess *>;
        kept->append(process.release());
    }
}

} // namespace

void runAlertCommand(const QString &title, const QString &packageName, const QString &appName, const QString &body,
                     const QString &subText, const QString &category, const std::string &command)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    auto process = std::make_unique<QProcess>();
    environment.insert(QStringLiteral("TITLE"), title);
    environment.insert(QStringLiteral("PACKAGE_NAME"), packageName);
    environment.insert(QStringLiteral("APP_NAME"), appName);
    environment.insert(QStringLiteral("BODY"), body);
    environment.insert(QStringLiteral("SUBTEXT"), subText);
    environment.insert(QStringLiteral("CATEGORY"), category);
    process->setProcessEnvironment(environment);
    discardOutput(*process);

    process->start(QString::fromStdString(command), QIODevice::ReadWrite);
    if (process->processId() < 0) {
        destroyUnforked(std::move(process));
        return;
    }
    process->waitForStarted(waitMs);
    process->waitForFinished(waitMs);
    if (process->state() != QProcess::NotRunning) {
        // The destructor would do the same, and warn in the host's log.
        process->kill();
        process->waitForFinished(waitMs);
    }
}
