// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/fieldvalues.h"

void NotificationsImpl::publishNotification(lu_field *record)
{
    Notification notification(nullptr);
    notification.setIsTransient(true);
    if (field::flag(record, field::message::warning)) {
        notification.setUrgency(urgency::critical);
        notification.setAppIcon(QStringLiteral("icon-lock-warning"));
    } else {
        notification.setAppIcon(QStringLiteral("icon-s-android"));
    }
    notification.setSummary(field::text(record, field::message::text));
    notification.publish();
}
