// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/record.h"

void NotificationsImpl::publishNotification(lu_field *record)
{
    Notification notification;
    notification.setIsTransient(true);
    if (lu_field_get_bool(record, field::message::warning)) {
        notification.setUrgency(urgency::critical);
        notification.setAppIcon(QStringLiteral("icon-lock-warning"));
    } else {
        notification.setAppIcon(QStringLiteral("icon-s-android"));
    }
    notification.setSummary(field::text(record, field::message::text));
    notification.publish();
}
