// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/lumd.h"

#include <QtCore/QString>
#include <QtCore/QVariant>

/// The remote actions for a notification record's actions, in their order. Each calls a D-Bus method of the host.
/// Actions that take input from the user are left out unless `actionInput`.
QVariantList remoteActions(lu_field *record, const QString &key, bool actionInput);
