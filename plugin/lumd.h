// SPDX-License-Identifier: MIT
/// The host daemon's plug-in interface: the types and functions of `liblumd.so.1` and
/// `liblumd-config-parser.so.1` that a notifications plug-in uses. Plain C linkage; all strings are
/// NUL-terminated UTF-8. The host borrows strings for the call, and copies those that it keeps.
/// Both sides call each other only on the thread that loaded the plug-in.
#pragma once

#include <stdint.h> // NOLINT(modernize-deprecated-headers): C linkage, and the host includes it from C

#if defined(__GNUC__)
#define LU_EXPORT __attribute__((visibility("default")))
#else
#define LU_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

// NOLINTBEGIN(modernize-use-using): a C header

/// The host's handle for one loaded plug-in.
typedef struct lu_handle lu_handle;
/// A reference-counted record of typed fields. Field identifier: index * 16 + type code, with the type codes
/// 1 string, 2 signed 64-bit integer, 4 boolean, 5 byte array, 7 list, 8 record type.
typedef struct lu_field lu_field;
/// A list with its own iteration cursor. Elements are `lu_field *` or `const char *`.
typedef struct lu_list lu_list;
/// The host's parsed configuration.
typedef struct lu_config_parser lu_config_parser;

/// The host owns it, and passes the same one to load and unload.
typedef struct lu_plugin_context {
    lu_handle *handle;
    void *instance; ///< the plug-in's own pointer
} lu_plugin_context;

/// The descriptor that a plug-in exports under the name `_lu_plugin_def`.
typedef struct lu_plugin_def {
    uint32_t version; ///< major in the upper 16 bits, minor in the lower
    const char *name;
    const char *type;
    const char *vendor;
    int32_t (*load)(lu_plugin_context *context);
    void (*unload)(lu_plugin_context *context);
    uint32_t reserved;
} lu_plugin_def;

/// The host's calls into a notifications plug-in. The host copies the pointers while it registers them.
typedef struct lu_plugin_notifications_callbacks {
    void (*init)(lu_handle *handle, void *user_data);
    void (*deinit)(lu_handle *handle, void *user_data);
    void (*connected)(lu_handle *handle, void *user_data);
    void (*clear)(lu_handle *handle, void *user_data);
    void (*add)(lu_handle *handle, lu_field *notification, void *user_data);
    void (*remove)(lu_handle *handle, const char *key, void *user_data);
    void (*publish)(lu_handle *handle, lu_field *message, void *user_data);
    void (*installation_result)(lu_handle *handle, lu_field *result, void *user_data);
    void (*uninstallation_result)(lu_handle *handle, lu_field *result, void *user_data);
    void (*dexopt_notify)(lu_handle *handle, const char *summary, const char *body, double progress, void *user_data);
} lu_plugin_notifications_callbacks;

/// The host's configuration; owned by the host.
LU_EXPORT lu_config_parser *lu_plugin_get_config(lu_handle *handle);
/// Non-zero when `key` exists in `section`.
LU_EXPORT int lu_config_parser_contains(lu_config_parser *parser, const char *section, const char *key);
/// The value as a boolean, non-zero for true.
LU_EXPORT int lu_config_parser_value_bool(lu_config_parser *parser, const char *section, const char *key);
/// A new copy of the value, for the caller to `free`.
LU_EXPORT char *lu_config_parser_value_str_dup(lu_config_parser *parser, const char *section, const char *key);

/// A new, empty record of the given record type, with one reference for the caller.
LU_EXPORT lu_field *lu_field_new(uint32_t record_type);
/// Drops the caller's reference.
LU_EXPORT void lu_field_unref(lu_field *record);
/// The record keeps its own copy of `value`.
LU_EXPORT void lu_field_set_str(lu_field *record, uint32_t id, const char *value);
/// Borrowed from the record; null when the field is absent.
LU_EXPORT const char *lu_field_get_str(lu_field *record, uint32_t id);
/// 0 when the field is absent.
LU_EXPORT int64_t lu_field_get_int(lu_field *record, uint32_t id);
/// Non-zero for true; 0 when the field is absent.
LU_EXPORT int lu_field_get_bool(lu_field *record, uint32_t id);
/// Borrowed from the record; the number of bytes goes to `length`.
LU_EXPORT const uint8_t *lu_field_get_byte_array(lu_field *record, uint32_t id, uint32_t *length);
/// Non-zero when the field is present.
LU_EXPORT int lu_field_is_set(lu_field *record, uint32_t id);
/// Borrowed from the record; null when the field is absent.
LU_EXPORT lu_list *lu_field_get_list(lu_field *record, uint32_t id);

LU_EXPORT uint32_t lu_list_size(lu_list *list);
/// Sets the cursor to the first element and returns it.
LU_EXPORT void *lu_list_foreach_start(lu_list *list);
/// Moves the cursor on and returns the element there.
LU_EXPORT void *lu_list_foreach_next(lu_list *list);
/// Non-zero once the cursor has passed the last element.
LU_EXPORT int lu_list_foreach_end(lu_list *list);

LU_EXPORT int lu_plugin_notifications_callbacks_set(lu_handle *handle,
                                                    const lu_plugin_notifications_callbacks *callbacks,
                                                    void *user_data);
LU_EXPORT int lu_plugin_notifications_callbacks_unset(lu_handle *handle);
/// Reports an action that the user invoked; the host takes a reference of its own if it keeps `action`.
LU_EXPORT int lu_plugin_notifications_action(lu_handle *handle, const char *key, lu_field *action);
/// Reports that the notification is gone from the desktop.
LU_EXPORT int lu_plugin_notifications_removed(lu_handle *handle, const char *key);

// NOLINTEND(modernize-use-using)

#ifdef __cplusplus
} // extern "C"
#endif
