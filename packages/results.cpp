// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/record.h"

namespace
{

enum class Lifetime { Transient, Kept };

void publishResult(lu_field *record, Lifetime lifetime, uint32_t detailId)
{
    Notification notification;
    notification.setAppName(field::text(record, field::result::appName));
    if (lifetime == Lifetime::Transient) {
        notification.setIsTransient(true);
    }
    notification.setIcon(QStringLiteral("icon-s-android"));
    notification.setAppIcon(QStringLiteral("icon-s-android"));
    QString summary = field::text(record, field::result::headline);
    if (lu_field_is_set(record, detailId)) {
        summary += QStringLiteral(": ") + field::text(record, detailId);
    }
    notification.setPreviewSummary(summary);
    if (lu_field_is_set(record, field::result::message) && lu_field_get_int(record, field::result::code) != 0) {
        notification.setPreviewBody(field::text(record, field::result::message));
    }
    notification.publish();
}

} // namespace

void NotificationsImpl::notifyInstallationResult(lu_field *record)
{
    publishResult(record, Lifetime::Transient, field::result::installationDetail);
}

void NotificationsImpl::notifyUninstallationResult(lu_field *record)
{
    publishResult(record, Lifetime::Kept, field::result::uninstallationDetail);
}
