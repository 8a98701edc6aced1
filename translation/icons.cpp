// SPDX-License-Identifier: MIT
#include "translation/icons.h"

#include "plugin/fields.h"
#include "plugin/logging.h"
#include "translation/iconcache.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

namespace
{

namespace id = field::notification;

enum class SaveResult {
    Saved,
    Skipped, ///< the icon is empty, or its directory is missing or not trusted; not logged
    Failed
};

/// Writes an icon of the record to `path`, directly from the host's buffer. The file appears whole or not at all.
SaveResult saveIcon(lu_field *record, uint32_t fieldId, const QDir &cache, const QString &path, const char *label)
{
    uint32_t length = 0;
    const uint8_t *const data = lu_field_get_byte_array(record, fieldId, &length);
    if (!data || length == 0) {
        return SaveResult::Skipped;
    }
    qCDebug(plugin) << label << path;
    if (!isTrustedIconCache(cache)) {
        return SaveResult::Skipped;
    }
    if (QFileInfo(path).isSymLink()) {
        QFile::remove(path); // QSaveFile would replace the link's target
    }
    QSaveFile file(path);
    // Unbuffered: commit() does not notice that a full disk rejects the last bytes of a buffer.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        return SaveResult::Skipped;
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(reinterpret_cast<const char *>(data), length);
    return file.commit() ? SaveResult::Saved : SaveResult::Failed;
}

} // namespace

void setSmallIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key)
{
    if (!lu_field_is_set(record, id::smallIcon)) {
        return;
    }
    const QString path = cachedIconPath(cache, iconFileName(key));
    const SaveResult result = saveIcon(record, id::smallIcon, cache, path, "Small icon path: ");
    if (result == SaveResult::Saved) {
        notification->setAppIcon(path);
    } else if (result == SaveResult::Failed) {
        qCWarning(plugin) << "Couldn't save small icon for" << key;
    }
}

void setLargeIcon(lu_field *record, Notification *notification, const QDir &cache, const QString &key,
                  const QString &packageName, const QString &title)
{
    if (!lu_field_is_set(record, id::largeIcon)) {
        return;
    }
    const QString path = cachedIconPath(cache, largeIconFileName(key));
    const SaveResult result = saveIcon(record, id::largeIcon, cache, path, "Large icon path: ");
    if (result == SaveResult::Saved) {
        notification->setIcon(path);
    } else if (result == SaveResult::Failed) {
        qCCritical(plugin) << "Couldn't save large icon for" << key << packageName << title;
    }
}
