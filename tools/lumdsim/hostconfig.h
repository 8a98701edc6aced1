// SPDX-License-Identifier: MIT
#pragma once

#include "standins/config-parser/configparser.h"

#include <QtCore/QString>

/// Loads the simulated host's configuration; without a file name, one that allows actions with input. Warns on standard
/// error of entries that the plug-in ignores or cannot use. Null after an error.
lumd::Config loadHostConfig(const QString &fileName, QString *error);
