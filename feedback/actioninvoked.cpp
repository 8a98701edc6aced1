// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/logging.h"

void NotificationsImpl::actionInvoked(const QString &action)
{
    auto *const notification = qobject_cast<Notification *>(sender());
    if (!notification) {
        return;
    }
    qCDebug(plugin) << "actionInvoked" << notification->replacesId();
    const QString key = getKey(notification);
    if (key.isEmpty()) {
        qCWarning(plugin) << "Notification received with empty key";
        return;
    }
    qCDebug(plugin) << "Opening notification" << key << "with" << action;

    const int separator = action.indexOf(QLatin1Char('|'));
    const QString title = action.left(separator); // the whole action without a separator
    const QString identifier = separator < 0 ? QString() : action.mid(separator + 1);
    lu_field *const record = lu_field_new(field::action::report);
    lu_field_set_str(record, field::action::title, title.toUtf8().constData());
    lu_field_set_str(record, field::action::reserved, "");
    if (!identifier.isEmpty()) {
        lu_field_set_str(record, field::action::identifier, identifier.toUtf8().constData());
    }
    lu_plugin_notifications_action(m_handle, key.toUtf8().constData(), record);
    lu_field_unref(record);
}
