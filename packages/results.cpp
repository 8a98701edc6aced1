// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/fieldvalues.h"

namespace
{

enum class Lifetime { Transient, Kept };

void publishResult(lu_field *record, uint32_t detailId, Lifetime lifetime)
{
    Notification notification(nullptr);
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
    publishResult(record, field::result::installationDetail, Lifetime::Transient);
}

void NotificationsImpl::notifyUninstallationResult(lu_field *record)
{
    publishResult(record, field::result::uninstallationDetail, Lifetime::Kept);
}
