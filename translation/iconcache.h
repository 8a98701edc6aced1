// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QDir>

/// The icon cache directory lies where every local user may have planted something before us. It is used only
/// while it and its parent are real directories that belong to this user or to root; what we create is private.

/// The name of a notification key's icon file in the icon cache directory. It holds no separator, so the file
/// always lies directly in the directory.
QString iconFileName(const QString &key);
/// The name of its large icon's file.
QString largeIconFileName(const QString &key);

bool isTrustedIconCache(const QDir &cache);
/// Removes the directory with all that is in it; true when nothing is left. Of a link in its place only the link
/// goes. What another user may have put in the parent's place is left alone.
bool removeIconCache(QDir &cache);
bool createIconCache(const QDir &cache);
/// Removes one file of it, if there is such a file.
void removeCachedIcon(QDir &cache, const QString &name);
