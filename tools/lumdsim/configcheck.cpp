// SPDX-License-Identifier: MIT
#include "tools/lumdsim/configcheck.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

#include <cstdio>

namespace
{

QString commandWarning(const QString &command)
{
    const QString program = QProcess::splitCommand(command).value(0);
    if (program.contains(QLatin1Char('/')) && QDir::isRelativePath(program)) {
        return QStringLiteral("\"%1\" is looked for in the folder that the host is started in").arg(program);
    }
    const bool missing = !program.isEmpty() && QStandardPaths::findExecutable(program).isEmpty();
    return missing ? QStringLiteral("there is no program \"%1\"").arg(program) : QString();
}

/// What is wrong with an entry; empty when nothing is.
QString warning(const QString &key, const QString &value)
{
    if (key == QLatin1String("NotifAlertCommand")) {
        return commandWarning(value);
    }
    if (key == QLatin1String("NotifActionInput")) {
        const QStringList words = QStringLiteral("1 true yes on 0 false no off").split(QLatin1Char(' '));
        return words.contains(value, Qt::CaseInsensitive)
                   ? QString()
                   : QStringLiteral("\"%1\" is not true or false, and read as false").arg(value);
    }
    return QStringLiteral("there is no such key");
}

} // namespace

void checkConfig(const QString &fileName)
{
    QFile file(fileName);
    bool ours = false;
    if (fileName.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return;
    }
    for (int number = 1; !file.atEnd(); ++number) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        const int separator = line.indexOf(QLatin1Char('='));
        if (line.startsWith(QLatin1Char('['))) {
            ours = line.mid(1, line.indexOf(QLatin1Char(']')) - 1).trimmed() == QLatin1String("Notifications");
        } else if (ours && separator > 0 && !line.startsWith(QLatin1Char(';')) && !line.startsWith(QLatin1Char('#'))) {
            const QString key = line.left(separator).trimmed();
            const QString text = warning(key, line.mid(separator + 1).trimmed());
            if (!text.isEmpty()) {
                std::fprintf(stderr, "%s:%d: warning: %s: %s\n", qUtf8Printable(fileName), number, qUtf8Printable(key),
                             qUtf8Printable(text));
            }
        }
    }
}
