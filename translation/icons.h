// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/clientlibrary.h"
#include "plugin/lumd.h"

#include <QtCore/QDir>
#include <QtCore/QString>

/// Caches the record's small icon, if it has one, as the notification's application icon.
void setSmallIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key);
/// Caches the record's large icon, if it has one, as the notification's picture.
void setLargeIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key,
                  const QString &packageName, const QString &title);
