// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

#include <cstdio>

/// How lumdsim ends; `Interrupted` and a signal's number when one has ended it.
enum Status { Good = 0, NoEnvironment = 1, BadInput = 2, Misuse = 3, Interrupted = 128 };

/// Says `what` on the standard error; returns `status`.
inline Status complain(Status status, const QString &what)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(what));
    return status;
}
