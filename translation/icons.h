// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/clientlibrary.h"
#include "plugin/lumd.h"

#include <QtCore/QDir>
#include <QtCore/QString>

/// Writes the record's small icon, if any, to the cache and sets it as the notification's application icon.
void setSmallIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key);
/// Writes the record's large icon, if any, to the cache and sets it as the notification's picture.
void setLargeIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key,
                  const QString &packageName, const QString &title);
