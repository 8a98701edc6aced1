// SPDX-License-Identifier: MIT
#include "alert/alertcommand.h"

#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QSocketNotifier>
#include <QtCore/QStringList>

#include <memory>
#include <unistd.h>

namespace
{

constexpr int waitMs = 30000;

/// Drops what the command writes as it comes: kept until the end, it could exhaust the host's memory.
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

/// Destroys a process object whose command could not be forked. On kernels with process descriptors Qt 5.15 does not
/// notice that: it takes the command for running, with the process number -1 and an uninitialised descriptor. Its
/// destructor would kill number -1, which is every process of the user's, and close that descriptor.
void destroyUnforked(std::unique_ptr<QProcess> process)
{
    (process.get()->*&ProcessState::setProcessState)(QProcess::NotRunning); // so that nothing is killed
    // Qt watches each descriptor with a notifier; the one that it takes for the process's own came last.
    const QList<QSocketNotifier *> notifiers = process->findChildren<QSocketNotifier *>();
    if (notifiers.isEmpty() ||
        static_cast<uint>(notifiers.last()->socket()) < static_cast<ulong>(sysconf(_SC_OPEN_MAX))) {
        // It might close a file of the host's, so it is never destroyed; alerts run one at a time.
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

    QStringList arguments = QProcess::splitCommand(QString::fromStdString(command));
    if (arguments.isEmpty()) {
        return;
    }
    const QString program = arguments.takeFirst();
    process->start(program, arguments, QIODevice::ReadWrite);
    if (process->processId() < 0) {
        destroyUnforked(std::move(process));
        return;
    }
    process->waitForStarted(waitMs);
    process->waitForFinished(waitMs);
    if (process->state() != QProcess::NotRunning) {
        // The destructor would do the same, but with a warning in the host's log.
        process->kill();
        process->waitForFinished(waitMs);
    }
}
