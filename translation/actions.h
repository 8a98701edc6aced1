// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/lumd.h"

#include <QtCore/QString>
#include <QtCore/QVariant>

/// The remote actions for a notification record's actions, in their order, each a call of the host's D-Bus
/// methods. Actions that take text from the user are left out unless `actionInput`.
QVariantList remoteActions(lu_field *record, const QString &key, bool actionInput);
