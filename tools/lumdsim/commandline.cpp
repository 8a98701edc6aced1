// SPDX-License-Identifier: MIT
#include "tools/lumdsim/commandline.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>

static constexpr const char *epilogue = R"(
A script holds one JSON object a line, such as
  {"do":"add","key":"k","appName":"Chat","title":"Ada","text":"Hello"}
lumdsim(1) lists all that it can do. The plug-in logs warnings; this shows all:
  lumdsim --logging-rules com.velmo.lumd.plugin.notifications.debug=true
QT_LOGGING_RULES in the environment does the same, and with NO_COLOR set,
terminals get no colours.

Exit status: 0 played to the end, 1 no plug-in, no server or no reader of the
output, 2 a bad command line, configuration or script, 3 the plug-in misused
the host's records, 128 and more ended by a signal.
)";

QString parseCommandLine(QCommandLineParser *parser)
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString built = programs.filePath(QStringLiteral("../lib/kavrel.so"));
    const QString installed = programs.filePath(QStringLiteral(LUMDSIM_PLUGIN));
    parser->setApplicationDescription(
        QStringLiteral("Loads the plug-in as the host daemon does, plays a script of Android\n"
                       "notifications, and prints what the desktop shows and what the host is told."));
    parser->addOptions({
        {QStringLiteral("plugin"), QStringLiteral("Plug-in to load, if not the one that came along."),
         QStringLiteral("file"), QDir::cleanPath(QFile::exists(built) ? built : installed)},
        {QStringLiteral("config"), QStringLiteral("Configuration of the host, an INI file."), QStringLiteral("file")},
        {QStringLiteral("desktop"), QStringLiteral("Notify on this session's desktop.")},
        {QStringLiteral("server"), QStringLiteral("Notify at this D-Bus address."), QStringLiteral("address")},
        {QStringLiteral("wait"), QStringLiteral("Stay until all that was shown is gone.")},
        {QStringLiteral("json"), QStringLiteral("Print one JSON object a line.")},
        {QStringLiteral("logging-rules"), QStringLiteral("What to log, in Qt's words."), QStringLiteral("rules")},
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Print the version.")},
    });
    parser->addPositionalArgument(QStringLiteral("script"),
                                  QStringLiteral("File to play; the standard input if there is none, or for -."),
                                  QStringLiteral("[script]"));
    if (!parser->parse(QCoreApplication::arguments())) {
        return parser->errorText();
    }
    if (parser->positionalArguments().size() > 1) {
        return QStringLiteral("There can be one script only.");
    }
    return parser->isSet(QStringLiteral("desktop")) && parser->isSet(QStringLiteral("server"))
               ? QStringLiteral("Give either --desktop or --server.")
               : QString();
}

QString helpText(const QCommandLineParser &parser) { return parser.helpText() + QLatin1String(epilogue); }
