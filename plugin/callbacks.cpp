// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"

namespace
{

NotificationsImpl *bridge(void *userData) { return static_cast<NotificationsImpl *>(userData); }

} // namespace

void NotificationsImpl::init(lu_handle *, void *) {}

void NotificationsImpl::deinit(lu_handle *, void *) {}

void NotificationsImpl::connected(lu_handle *, void *userData) { bridge(userData)->newConnection(); }

void NotificationsImpl::clear(lu_handle *, void *userData) { bridge(userData)->cleanupNotifications(); }

void NotificationsImpl::add(lu_handle *, lu_field *record, void *userData)
{
    bridge(userData)->addNotification(record);
}

void NotificationsImpl::remove(lu_handle *, const char *key, void *userData)
{
    bridge(userData)->removeNotification(key);
}

void NotificationsImpl::publish(lu_handle *, lu_field *record, void *userData)
{
    bridge(userData)->publishNotification(record);
}

void NotificationsImpl::installation_result(lu_handle *, lu_field *record, void *userData)
{
    bridge(userData)->notifyInstallationResult(record);
}

void NotificationsImpl::uninstallation_result(lu_handle *, lu_field *record, void *userData)
{
    bridge(userData)->notifyUninstallationResult(record);
}

void NotificationsImpl::dexopt_notify(lu_handle *, const char *summary, const char *body, double progress,
                                      void *userData)
{
    bridge(userData)->dexOptNotify(summary, body, progress);
}

lu_plugin_notifications_callbacks NotificationsImpl::callbacks()
{
    return {init,         deinit, connected, clear, add, remove, publish, installation_result, uninstallation_result,
            dexopt_notify};
}
