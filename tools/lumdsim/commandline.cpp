// SPDX-License-Identifier: MIT
#include "tools/lumdsim/commandline.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>

bool readCommandLine(QCommandLineParser *parser, QString *error)
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString built = programs.filePath(QStringLiteral("../lib/kavrel.so"));
    const QString installed = programs.filePath(QStringLiteral(LUMDSIM_PLUGIN));
    parser->setApplicationDescription(
        QStringLiteral("Plays Android notifications on the desktop, as the host daemon does. A script has one\n"
                       "JSON object a line: {\"do\":\"add\",\"key\":\"k\",\"title\":\"Hello\"}. See lumdsim(1)."));
    parser->addOptions({
        {QStringLiteral("plugin"), QStringLiteral("Load this plug-in, not the one beside."), QStringLiteral("file"),
         QDir::cleanPath(QFile::exists(built) ? built : installed)},
        {QStringLiteral("config"), QStringLiteral("Configuration of the host, an INI file."), QStringLiteral("file")},
        {QStringLiteral("desktop"), QStringLiteral("Notify on this session's desktop.")},
        {QStringLiteral("wait"), QStringLiteral("Stay until all is answered or gone.")},
        {QStringLiteral("pace"), QStringLiteral("Pause after each event."), QStringLiteral("ms"), QStringLiteral("0")},
        {QStringLiteral("json"), QStringLiteral("Print one JSON object a line.")},
        {QStringLiteral("logging-rules"), QStringLiteral("Log by these rules of Qt's."), QStringLiteral("rules")},
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Print the version.")},
    });
    parser->addPositionalArgument(QStringLiteral("script"), QStringLiteral("File to play, - for the standard input."),
                                  QStringLiteral("[script]"));
    if (!parser->parse(QCoreApplication::arguments())) {
        *error = parser->errorText();
        return false;
    }
    if (parser->isSet(QStringLiteral("help"))) {
        parser->showHelp();
    }
    if (parser->isSet(QStringLiteral("version"))) {
        parser->showVersion();
    }
    bool isNumber = false;
    const QString pace = parser->value(QStringLiteral("pace"));
    if (parser->positionalArguments().size() > 1) {
        *error =
            QStringLiteral("There can be one script only, not also \"%1\".").arg(parser->positionalArguments().at(1));
    } else if (pace.toInt(&isNumber) < 0 || !isNumber) {
        *error = QStringLiteral("--pace takes milliseconds, not \"%1\".").arg(pace);
    }
    return error->isEmpty();
}
