#pragma once

#include "plugin/lumd.h"

#include <QtCore/QDir>
#include <QtCore/QString>

class Notification;

/// The name of a notification key's icon file in the icon cache directory. It holds no separator, so the file
/// always lies directly in the directory.
QString iconFileName(const QString &key);
/// The name of its large icon's file.
QString largeIconFileName(const QString &key);

/// Caches the record's small icon, if it has one, as the notification's application icon.
void setSmallIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key);
/// Caches the record's large icon, if it has one, as the notification's picture.
void setLargeIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key,
                  const QString &packageName, const QString &title);
