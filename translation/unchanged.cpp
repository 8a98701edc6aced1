// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "plugin/logging.h"
#include "translation/hints.h"

namespace
{

QVariant priority(Notification *notification) { return notification->hintValue(hint::priority()); }

void logDifferences(Notification *old, Notification *fresh)
{
    if (fresh->summary() != old->summary()) {
        qCDebug(plugin) << "summary" << fresh->summary() << old->summary();
    }
    if (fresh->body() != old->body()) {
        qCDebug(plugin) << "body" << fresh->body() << old->body();
    }
    if (fresh->itemCount() != old->itemCount()) {
        qCDebug(plugin) << "itemCount" << fresh->itemCount() << old->itemCount();
    }
    if (priority(fresh) != priority(old)) {
        qCDebug(plugin) << "priority" << priority(fresh).toString() << priority(old).toString();
    }
}

} // namespace

bool NotificationsImpl::unchanged(Notification *old, Notification *fresh) const
{
    if (plugin().isDebugEnabled()) {
        logDifferences(old, fresh);
    }
    return fresh->summary() == old->summary() && fresh->body() == old->body() &&
           fresh->itemCount() == old->itemCount() && priority(fresh) == priority(old) &&
           fresh->remoteActions() == old->remoteActions();
}
