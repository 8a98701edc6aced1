// SPDX-License-Identifier: MIT
#include "translation/iconcache.h"

#include <QtCore/QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

QByteArray native(const QString &path) { return QFile::encodeName(path); }

QString parentOf(const QDir &cache) { return QFileInfo(cache.path()).path(); }

/// Whether it is a real directory of this user's or of root's.
bool isTrusted(const QString &path)
{
    struct stat info = {};
    return ::lstat(native(path).constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
           (info.st_uid == ::geteuid() || info.st_uid == 0);
}

/// Takes rights from a directory of ours, so that nobody can exchange what is in it while we work there.
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
    // Not QDir::filePath(), which takes a name that begins with ":" for one outside the directory.
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
    // The host may keep files of its own in this directory, which bears its name: other users may reach what they
    // know the name of, but not list what there is.
    ::mkdir(native(parent).constData(), S_IRWXU | S_IXGRP | S_IXOTH);
    if (!isTrusted(parent)) {
        return false;
    }
    // Other plug-ins of this user's may create it, or remove it again, at the same time.
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
