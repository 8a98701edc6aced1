// SPDX-License-Identifier: MIT
#include "standins/lumd/host.h"

lu_config_parser *lu_plugin_get_config(lu_handle *handle) { return handle ? handle->config : nullptr; }

int lu_plugin_notifications_callbacks_set(lu_handle *handle, const lu_plugin_notifications_callbacks *callbacks,
                                          void *user_data)
{
    if (!handle || !callbacks) {
        return -1;
    }
    handle->callbacks = *callbacks;
    handle->userData = user_data;
    return 0;
}

int lu_plugin_notifications_callbacks_unset(lu_handle *handle)
{
    if (!handle) {
        return -1;
    }
    handle->callbacks.reset();
    return 0;
}

int lu_plugin_notifications_action(lu_handle *handle, const char *key, lu_field *action)
{
    if (handle && handle->onAction) {
        handle->onAction(key ? key : "", action);
    }
    return 0;
}

int lu_plugin_notifications_removed(lu_handle *handle, const char *key)
{
    if (handle && handle->onRemoved) {
        handle->onRemoved(key ? key : "");
    }
    return 0;
}
