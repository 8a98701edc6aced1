// SPDX-License-Identifier: MIT
#include "tools/lumdsim/commandline.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>

namespace
{

QString installedPlugin()
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString built = programs.filePath(QStringLiteral("../lib/kavrel.so"));
    return QDir::cleanPath(QFile::exists(built) ? built : programs.filePath(QStringLiteral(LUMDSIM_PLUGIN)));
}

} // namespace

bool readOptions(Options *options, QString *error)
{
    const QCommandLineOption plugin(QStringLiteral("plugin"), QStringLiteral("Load this plug-in, not the one beside."),
                                    QStringLiteral("file"), installedPlugin());
    const QCommandLineOption config(QStringLiteral("config"), QStringLiteral("Configuration of the host, an INI file."),
                                    QStringLiteral("file"));
    const QCommandLineOption desktop(QStringLiteral("desktop"), QStringLiteral("Notify on this session's desktop."));
    const QCommandLineOption wait(QStringLiteral("wait"), QStringLiteral("Stay until all is answered or gone."));
    const QCommandLineOption pace(QStringLiteral("pace"), QStringLiteral("Pause after each event."),
                                  QStringLiteral("ms"), QStringLiteral("0"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print one JSON object a line."));
    const QCommandLineOption rules(QStringLiteral("logging-rules"), QStringLiteral("Log by these rules of Qt's."),
                                   QStringLiteral("rules"));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help."));
    QCommandLineParser parser;
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions({plugin, config, desktop, wait, pace, json, rules, help});
    parser.addPositionalArgument(QStringLiteral("script"), QStringLiteral("File to play, - for the standard input."),
                                 QStringLiteral("[script]"));
    parser.setApplicationDescription(
        QStringLiteral("Plays Android notifications on the desktop, as the host daemon does. A script has one\n"
                       "JSON object a line: {\"do\":\"add\",\"key\":\"k\",\"title\":\"Hello\"}. See lumdsim(1)."));
    if (!parser.parse(QCoreApplication::arguments())) {
        *error = parser.errorText();
        return false;
    }
    if (parser.isSet(help)) {
        parser.showHelp();
    }
    if (parser.isSet(version)) {
        parser.showVersion();
    }
    const QStringList scripts = parser.positionalArguments();
    bool isNumber = false;
    options->plugin = parser.value(plugin);
    options->config = parser.value(config);
    options->script = scripts.value(0, QStringLiteral("-"));
    options->loggingRules = parser.value(rules);
    options->paceMs = parser.value(pace).toInt(&isNumber);
    options->desktop = parser.isSet(desktop);
    options->wait = parser.isSet(wait);
    options->json = parser.isSet(json);
    if (scripts.size() > 1) {
        *error = QStringLiteral("There can be one script only, not also \"%1\".").arg(scripts.at(1));
    } else if (!isNumber || options->paceMs < 0) {
        *error = QStringLiteral("--pace takes milliseconds, not \"%1\".").arg(parser.value(pace));
    }
    return error->isEmpty();
}
