// SPDX-License-Identifier: MIT
// With the default types of a 32-bit machine, lstat() fails for a directory dated after January 2038, or with a large
// inode number. Only this file asks for 64-bit types, so that no type in the headers of other libraries changes.
// NOLINTBEGIN(bugprone-reserved-identifier)
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64
// NOLINTEND(bugprone-reserved-identifier)
#include "translation/iconcache.h"

#include <QtCore/QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

QByteArray native(const QString &path) { return QFile::encodeName(path); }

QString parentOf(const QDir &cache) { return QFileInfo(cache.path()).path(); }

/// Whether it is a real directory, not a link, of this user's or root's.
bool isTrusted(const QString &path)
{
    struct stat info = {};
    return ::lstat(native(path).constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
           (info.st_uid == ::geteuid() || info.st_uid == 0);
}

/// Takes rights on our own directory from other users, who could replace its files while we work there.
void withdraw(const QString &path, mode_t rights)
{
    struct stat info = {};
    if (::lstat(native(path).constData(), &info) == 0 && (info.st_mode & rights) != 0) {
        ::chmod(native(path).constData(), info.st_mode & 07777 & ~rights);
    }
}

} // namespace

QString iconFileName(const QString &text)
{
    QString name = text;
    for (const QChar separator : {QLatin1Char('|'), QLatin1Char('/'), QLatin1Char('\n')}) {
        name.replace(separator, QLatin1Char('_'));
    }
    return name + QStringLiteral(".png");
}

QString largeIconFileName(const QString &key) { return iconFileName(key + QStringLiteral("_large")); }

QString cachedIconPath(const QDir &cache, const QString &name)
{
    // QDir::filePath() treats a name that begins with ":" as an absolute path.
    return cache.path() + QLatin1Char('/') + name;
}

bool isTrustedIconCache(const QDir &cache) { return isTrusted(parentOf(cache)) && isTrusted(cache.path()); }

bool removeIconCache(QDir &cache)
{
    const bool parentTrusted = isTrusted(parentOf(cache));
    if (parentTrusted) {
        withdraw(parentOf(cache), S_IWOTH);
    }
    const QFileInfo entry(cache.path());
    if (!entry.exists() && !entry.isSymLink()) {
        return true;
    }
    if (!parentTrusted) {
        return false;
    }
    if (entry.isSymLink()) {
        return QFile::remove(cache.path());
    }
    if (!isTrusted(cache.path())) {
        return !cache.exists();
    }
    withdraw(cache.path(), S_IRWXG | S_IRWXO);
    return cache.removeRecursively();
}

bool createIconCache(const QDir &cache)
{
    const QString parent = parentOf(cache);
    QDir().mkpath(QFileInfo(parent).path());
    // The host may keep its own files in this directory, which has its name. Other users may open a file whose name
    // they know, but not list the directory.
    ::mkdir(native(parent).constData(), S_IRWXU | S_IXGRP | S_IXOTH);
    if (!isTrusted(parent)) {
        return false;
    }
    // Another process of this user may create or remove the directory at the same time.
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (::mkdir(native(cache.path()).constData(), S_IRWXU) == 0 || isTrusted(cache.path())) {
            return true;
        }
    }
    return false;
}

void removeCachedIcons(const QDir &cache, const QStringList &names)
{
    if (!isTrustedIconCache(cache)) {
        return;
    }
    for (const QString &name : names) {
        QFile::remove(cachedIconPath(cache, name));
    }
}
