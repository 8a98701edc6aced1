// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/lumd.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

extern "C" LU_EXPORT lu_plugin_def _lu_plugin_def;

namespace
{

constexpr const char *section = "Notifications";

bool boolValue(lu_config_parser *parser, const char *key)
{
    // The parser is null in a host without a configuration.
    return parser && lu_config_parser_contains(parser, section, key) &&
           lu_config_parser_value_bool(parser, section, key);
}

std::string stringValue(lu_config_parser *parser, const char *key)
{
    if (!parser || !lu_config_parser_contains(parser, section, key)) {
        return {};
    }
    const std::unique_ptr<char, decltype(&std::free)> value(lu_config_parser_value_str_dup(parser, section, key),
                                                            &std::free);
    return value ? std::string(value.get()) : std::string();
}

int32_t plugin_load(lu_plugin_context *context)
{
    lu_config_parser *const parser = lu_plugin_get_config(context->handle);
    const bool actionInput = boolValue(parser, "NotifActionInput");
    const std::string alertCommand = stringValue(parser, "NotifAlertCommand");
    context->instance = new NotificationsImpl(context->handle, actionInput, alertCommand, nullptr);
    return 0;
}

/// Leaves the context's instance as it is: the context belongs to the host.
void plugin_unload(lu_plugin_context *context) { delete static_cast<NotificationsImpl *>(context->instance); }

// The host reads this layout on 32-bit ARM.
static_assert(sizeof(void *) != 4 || (sizeof(lu_plugin_def) == 28 && offsetof(lu_plugin_def, version) == 0 &&
                                      offsetof(lu_plugin_def, name) == 4 && offsetof(lu_plugin_def, type) == 8 &&
                                      offsetof(lu_plugin_def, vendor) == 12 && offsetof(lu_plugin_def, load) == 16 &&
                                      offsetof(lu_plugin_def, unload) == 20 && offsetof(lu_plugin_def, reserved) == 24),
              "the plug-in descriptor's layout is the host's binary interface");

} // namespace

lu_plugin_def _lu_plugin_def = {
    0x00010000, "kavrel", "notifications", "Velmo", plugin_load, plugin_unload, 0,
};
