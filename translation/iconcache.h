// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QDir>
#include <QtCore/QStringList>

/// Every local user can create files and links where the icon cache directory belongs. The plug-in uses it only while
/// it and its parent are real directories of this user's or root's; other users cannot read the directory it creates.

/// The name of a notification key's icon file in the icon cache directory. It holds no "/".
QString iconFileName(const QString &key);
/// The name of the large icon's file.
QString largeIconFileName(const QString &key);
/// The path of the file with that name, directly in the directory.
QString cachedIconPath(const QDir &cache, const QString &name);

bool isTrustedIconCache(const QDir &cache);
/// Removes the directory and its contents; true when nothing is left. Removes a link in its place without following
/// it. Takes the right to write to our own parent directory from other users; changes nothing in another user's.
bool removeIconCache(QDir &cache);
/// Creates the directory, and its parent if missing; true when the directory exists and is trusted.
bool createIconCache(const QDir &cache);
/// Removes the files that exist.
void removeCachedIcons(const QDir &cache, const QStringList &names);
