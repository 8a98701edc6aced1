// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

/// Warns on standard error, with file and line, of what the plug-in passes over in silence in its section of the
/// host's configuration, if there is one: unknown keys, values that are no booleans, an alert command that cannot be
/// started.
void checkConfig(const QString &fileName);
