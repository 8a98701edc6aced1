// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QCommandLineParser>

/// Reads the command line of this process. Prints the help or the version, where asked, and ends the process.
bool readCommandLine(QCommandLineParser *parser, QString *error);
