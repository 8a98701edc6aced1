// SPDX-License-Identifier: MIT
#include "tools/lumdsim/hostconfig.h"

#include "tools/lumdsim/output.h"

#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

namespace
{

QString commandWarning(const QString &command)
{
    const QString program = QProcess::splitCommand(command).value(0);
    if (program.contains('/') && QDir::isRelativePath(program)) {
        return QString("\"%1\" is relative to the folder that the host is started in").arg(program);
    }
    const bool missing = !program.isEmpty() && QStandardPaths::findExecutable(program).isEmpty();
    return missing ? QString("there is no program \"%1\"").arg(program) : QString();
}

/// Empty for an entry of the plug-in's section that it can use.
QString entryWarning(const std::string &key, const QString &value)
{
    if (key == "NotifAlertCommand") {
        return commandWarning(value);
    }
    if (key == "NotifActionInput") {
        const QStringList words = QString("1 true yes on 0 false no off").split(' ');
        const bool known = words.contains(value, Qt::CaseInsensitive);
        return known ? QString() : QString("\"%1\" is not true or false, and read as false").arg(value);
    }
    return "there is no such key, only NotifActionInput and NotifAlertCommand";
}

/// Warns of keys outside a section, of a foreign section once, and of single entries.
void warn(const QString &fileName, const std::vector<lumd::ConfigEntry> &entries)
{
    std::string latest;
    for (const lumd::ConfigEntry &entry : entries) {
        QString place = QString::fromStdString(entry.key);
        QString warning;
        if (entry.section.empty()) {
            warning = "this key stands outside a section";
        } else if (entry.section != "Notifications") {
            place = QString("[%1]").arg(QString::fromStdString(entry.section));
            warning = entry.section == latest ? QString() : "the plug-in reads [Notifications] only";
        } else {
            place.prepend("[Notifications] ");
            warning = entryWarning(entry.key, QString::fromStdString(entry.value));
        }
        if (!warning.isEmpty()) {
            say(Good, QString("%1: warning: %2: %3").arg(fileName, place, warning));
        }
        latest = entry.section;
    }
}

} // namespace

lumd::Config loadHostConfig(const QString &fileName, QString *error)
{
    std::string problem;
    lumd::Config config = fileName.isEmpty()
                              ? lumd::parseConfig("[Notifications]\nNotifActionInput = true\n", "", &problem)
                              : lumd::loadConfig(fileName.toStdString(), &problem);
    if (config) {
        warn(fileName, lumd::configEntries(*config));
    }
    *error = QString::fromStdString(problem);
    return config;
}
