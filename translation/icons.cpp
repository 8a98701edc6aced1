// SPDX-License-Identifier: MIT
#include "translation/icons.h"

#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/logging.h"
#include "translation/iconcache.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

namespace
{

namespace id = field::notification;

struct IconBytes {
    const uint8_t *data = nullptr;
    uint32_t length = 0;
};

IconBytes iconBytes(lu_field *record, uint32_t fieldId)
{
    IconBytes icon;
    if (lu_field_is_set(record, fieldId)) {
        icon.data = lu_field_get_byte_array(record, fieldId, &icon.length);
    }
    return icon;
}

enum class IconFile { Saved, NotOpened, NotCommitted };

/// Writes straight from the host's buffer. The file appears whole or not at all; unbuffered, because committing
/// does not notice a buffer that finds no room on the disk.
IconFile saveIcon(const QDir &cache, const QString &path, const IconBytes &icon)
{
    if (!isTrustedIconCache(cache)) {
        return IconFile::NotOpened;
    }
    if (QFileInfo(path).isSymLink()) {
        QFile::remove(path); // the save would go where it leads
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        return IconFile::NotOpened;
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(reinterpret_cast<const char *>(icon.data), icon.length);
    return file.commit() ? IconFile::Saved : IconFile::NotCommitted;
}

} // namespace

void setSmallIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key)
{
    const IconBytes icon = iconBytes(record, id::smallIcon);
    if (!icon.data || icon.length == 0) {
        return;
    }
    const QString path = cache.filePath(iconFileName(key));
    qCDebug(plugin) << "Small icon path: " << path;
    switch (saveIcon(cache, path, icon)) {
    case IconFile::Saved:
        notification->setAppIcon(path);
        break;
    case IconFile::NotCommitted:
        qCWarning(plugin) << "Couldn't save small icon for" << key;
        break;
    case IconFile::NotOpened:
        break;
    }
}

void setLargeIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key,
                  const QString &packageName, const QString &title)
{
    const IconBytes icon = iconBytes(record, id::largeIcon);
    if (!icon.data || icon.length == 0) {
        return;
    }
    const QString path = cache.filePath(largeIconFileName(key));
    qCDebug(plugin) << "Large icon path: " << path;
    switch (saveIcon(cache, path, icon)) {
    case IconFile::Saved:
        notification->setIcon(path);
        break;
    case IconFile::NotCommitted:
        qCCritical(plugin) << "Couldn't save large icon for" << key << packageName << title;
        break;
    case IconFile::NotOpened:
        break;
    }
}
