// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/fieldvalues.h"
#include "plugin/logging.h"
#include "translation/actions.h"
#include "translation/hints.h"
#include "translation/icons.h"

#include <QtCore/QDateTime>

namespace
{

namespace id = field::notification;

void setTexts(lu_field *record, Notification *notification, const QString &title)
{
    notification->setAppName(field::text(record, id::appName));
    notification->setSummary(title);
    notification->setBody(field::text(record, id::text));
    notification->setSubText(field::text(record, id::subText));
}

void setOrigin(Notification *notification, const QString &key, const QString &packageName)
{
    notification->setHintValue(hint::originPackage(), packageName);
    notification->setHintValue(hint::originKey(), key);
}

struct CategoryMapping {
    const char *android;
    const char *category;
    const char *feedback;
};

constexpr CategoryMapping categories[] = {
    {"msg", "chat", "chat,chat_exists"},
    {"event", "calendar", "calendar"},
    {"email", "email", "email,email_exists"},
    {"alarm", "clock", "clock"},
};

void setCategory(Notification *notification, const QString &androidCategory)
{
    for (const CategoryMapping &mapping : categories) {
        if (androidCategory == QLatin1String(mapping.android)) {
            notification->setHintValue(hint::feedback(), QString::fromLatin1(mapping.feedback));
            notification->setCategory(QString::fromLatin1(mapping.category));
            return;
        }
    }
    notification->setCategory(androidCategory);
}

void setColor(lu_field *record, Notification *notification)
{
    const int color = field::int32(record, id::color);
    if (color == 0) {
        notification->setHintValue(hint::color(), QStringLiteral("auto"));
        return;
    }
    const QString digits = QString::number(static_cast<uint>(color), 16).rightJustified(6, QLatin1Char('0'));
    const QString text = QLatin1Char('#') + digits;
    notification->setHintValue(hint::color(), text);
    qCDebug(plugin) << "notif colour:" << color << text;
}

void setSoundAndVibration(lu_field *record, Notification *notification)
{
    const bool silent = field::flag(record, id::silent);
    const bool vibrate = field::flag(record, id::vibrate);
    if (silent) {
        notification->setHintValue(hint::suppressSound(), true);
    }
    if (vibrate) {
        notification->setHintValue(hint::vibrate(), true);
    }
    if (!silent || vibrate) {
        notification->setHintValue(hint::displayOn(), true);
    }
}

void setLedColor(lu_field *record, Notification *notification)
{
    const int color = field::int32(record, id::ledColor);
    if (color != 0) {
        notification->setHintValue(hint::ledArgb(), color);
    }
}

void setTimestamp(lu_field *record, Notification *notification)
{
    const qint64 timestamp = lu_field_get_int(record, id::timestamp);
    if (timestamp != 0) {
        notification->setTimestamp(QDateTime::fromMSecsSinceEpoch(timestamp));
    }
}

void setProgress(lu_field *record, Notification *notification)
{
    const bool indeterminate = field::flag(record, id::indeterminate);
    const qint64 maximum = lu_field_get_int(record, id::progressMax);
    if (indeterminate) {
        notification->setProgress(-1);
    } else if (maximum >= 1) {
        const qint64 value = lu_field_get_int(record, id::progress);
        notification->setProgress(static_cast<double>(value) / static_cast<double>(maximum));
    }
}

void setImportance(Notification *notification, int importance)
{
    // Unsigned: a host may send any number, and a signed product could overflow.
    notification->setHintValue(hint::priority(), static_cast<int>(static_cast<uint>(importance) * 25U));
    if (importance == 0 || importance == 1) {
        notification->setUrgency(urgency::low);
    } else if (importance == 4 || importance == 5) {
        notification->setUrgency(urgency::critical);
    } else {
        notification->setUrgency(urgency::normal);
    }
}

void setLifetimeAndCount(lu_field *record, Notification *notification)
{
    const bool ongoing = field::flag(record, id::ongoing);
    const bool clearable = field::flag(record, id::clearable);
    const int itemCount = field::int32(record, id::itemCount);
    if (ongoing) {
        notification->setResident(true);
    }
    if (!clearable) {
        notification->setHintValue(hint::userRemovable(), false);
    }
    if (itemCount > 0) {
        notification->setItemCount(itemCount);
    }
}

} // namespace

void NotificationsImpl::addNotification(lu_field *record)
{
    auto *const fresh = new Notification(nullptr);
    const QString key = field::text(record, id::key);
    const QString packageName = field::text(record, id::packageName);
    const QString title = field::text(record, id::title);

    setTexts(record, fresh, title);
    setOrigin(fresh, key, packageName);
    setSmallIcon(record, fresh, m_iconCacheDir, key);
    setLargeIcon(record, fresh, m_iconCacheDir, key, packageName, title);
    const QString category = field::text(record, id::category);
    setCategory(fresh, category);
    setColor(record, fresh);
    setSoundAndVibration(record, fresh);
    setLedColor(record, fresh);
    setTimestamp(record, fresh);
    setProgress(record, fresh);
    const int importance = field::int32(record, id::importance);
    setImportance(fresh, importance);
    setLifetimeAndCount(record, fresh);
    const bool lowUrgency = field::flag(record, id::lowUrgency);
    if (lowUrgency) {
        fresh->setUrgency(urgency::low);
    }
    fresh->setRemoteActions(remoteActions(record, key, m_actionInput));

    if (!supersede(key, fresh)) {
        delete fresh;
        return;
    }
    fresh->publish();
    qCDebug(plugin) << "Published notification " << key << " as " << fresh->replacesId() << " with importance"
                    << importance;
    connectNotif(fresh);
    m_notifications.insert(key, fresh);

    if (!m_alertCommand.empty() && (fresh->urgency() > urgency::low || lowUrgency)) {
        requestAlert({title, packageName, fresh->appName(), fresh->body(), fresh->subText(), category});
    }
}
