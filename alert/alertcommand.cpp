// SPDX-License-Identifier: MIT
#include "alert/alertcommand.h"

#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringList>

#include <memory>

namespace
{

constexpr int waitMs = 30000;

/// A command may write more than the host's memory holds, and nobody reads it: drops it as it comes.
void discardOutput(QProcess &process)
{
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process,
                     [&process] { process.readAllStandardOutput(); });
    QObject::connect(&process, &QProcess::readyReadStandardError, &process,
                     [&process] { process.readAllStandardError(); });
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
        // The system is out of processes, which Qt does not notice: it would kill number -1, that is every process
        // that the user has, here and in its destructor.
        static_cast<void>(process.release());
        return;
    }
    process->waitForStarted(waitMs);
    process->waitForFinished(waitMs);
    if (process->state() != QProcess::NotRunning) {
        // The process object would do the same, but with a warning in the host's log.
        process->kill();
        process->waitForFinished(waitMs);
    }
}
