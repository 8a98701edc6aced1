// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QCommandLineParser>

/// Reads the command line of this process. What is wrong with it; empty when nothing is.
QString parseCommandLine(QCommandLineParser *parser);
/// What `--help` prints.
QString helpText(const QCommandLineParser &parser);
