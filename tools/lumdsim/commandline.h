// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

/// The command line of lumdsim.
struct Options {
    QString plugin;
    QString config; ///< empty for the simulated host's own
    QString script; ///< "-" for the standard input
    QString loggingRules;
    int paceMs = 0;
    bool desktop = false;
    bool wait = false;
    bool json = false;
};

/// Reads the command line of this process. Prints the help or the version, where asked, and ends the process.
bool readOptions(Options *options, QString *error);
