// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

#include <cstdio>

/// The exit status; `Interrupted` and a signal's number when one has ended the program.
enum Status { Good = 0, NoEnvironment = 1, BadInput = 2, Misuse = 3, Interrupted = 128 };

/// Prints a message on the standard error; returns `status`.
inline Status say(Status status, const QString &message)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(message));
    return status;
}
