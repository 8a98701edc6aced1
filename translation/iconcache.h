// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QDir>
#include <QtCore/QStringList>

/// The icon cache directory lies where every local user may have planted something before us. It is used only
/// while it and its parent are real directories that belong to this user or to root; what we create is private.

/// The name of a notification key's icon file in the icon cache directory. It holds no "/".
QString iconFileName(const QString &key);
/// The name of its large icon's file.
QString largeIconFileName(const QString &key);
/// The path of a file of that name, which lies directly in the directory.
QString cachedIconPath(const QDir &cache, const QString &name);

bool isTrustedIconCache(const QDir &cache);
/// Removes the directory with all that is in it; true when nothing is left. A link in its place is removed, not
/// followed. Closes the parent, if it is ours, to the writing of others; leaves alone what is in another user's.
bool removeIconCache(QDir &cache);
/// Creates the directory, and its parent if need be; true when there is one that is ours.
bool createIconCache(const QDir &cache);
/// Removes those of the files that are there.
void removeCachedIcons(const QDir &cache, const QStringList &names);
