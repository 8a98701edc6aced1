// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/fields.h"
#include "plugin/lumd.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The host's own side of `liblumd.so.1`: it builds records, calls a plug-in, and receives its reports.
namespace lumd
{

struct FieldUnref {
    void operator()(lu_field *record) const { lu_field_unref(record); }
};
/// One reference to a record.
using Record = std::unique_ptr<lu_field, FieldUnref>;

/// Record types that only the host creates.
constexpr uint32_t notificationRecord = field::numbered(0, field::RecordType);
constexpr uint32_t actionElementRecord = field::numbered(1, field::RecordType);
constexpr uint32_t messageRecord = field::numbered(2, field::RecordType);
constexpr uint32_t installationResultRecord = field::numbered(3, field::RecordType);
constexpr uint32_t uninstallationResultRecord = field::numbered(4, field::RecordType);

/// Plug-ins do not have these setters. Each copies its value, and replaces an earlier one.
LU_EXPORT Record newRecord(uint32_t recordType);
LU_EXPORT void setString(lu_field *record, uint32_t id, std::string_view value); ///< any bytes
LU_EXPORT void setInt(lu_field *record, uint32_t id, int64_t value);
LU_EXPORT void setBool(lu_field *record, uint32_t id, bool value);
LU_EXPORT void setBytes(lu_field *record, uint32_t id, const void *data, size_t size);
/// Takes over the records.
LU_EXPORT void setRecords(lu_field *record, uint32_t id, std::vector<Record> records);
LU_EXPORT void setStrings(lu_field *record, uint32_t id, std::vector<std::string> strings);

LU_EXPORT uint32_t recordType(const lu_field *record);

/// Misuse of records found so far, one sentence each: a record released twice, or read with a function that
/// does not fit the identifier's type code. Taking them empties the list.
LU_EXPORT std::vector<std::string> takeFindings();
/// Number of records alive in the process: 0 once everything was released.
LU_EXPORT size_t liveRecords();

} // namespace lumd

/// The host as one plug-in sees it. Reports of the plug-in go to the two functions, on the calling thread. The calls to
/// the plug-in do nothing while its callbacks are not set.
struct lu_handle {
    using Callbacks = lu_plugin_notifications_callbacks;

    /// `hostConfig` may be null (a host that has no configuration); it must outlive the host.
    explicit lu_handle(lu_config_parser *hostConfig)
        : config(hostConfig)
    {
    }
    ~lu_handle() = default;
    lu_handle(const lu_handle &) = delete;
    lu_handle &operator=(const lu_handle &) = delete;

    void init() { call(&Callbacks::init); }
    void deinit() { call(&Callbacks::deinit); }
    void connected() { call(&Callbacks::connected); }
    void clear() { call(&Callbacks::clear); }
    void add(lu_field *notification) { call(&Callbacks::add, notification); }
    void remove(const char *key) { call(&Callbacks::remove, key); }
    void publish(lu_field *message) { call(&Callbacks::publish, message); }
    void installationResult(lu_field *result) { call(&Callbacks::installation_result, result); }
    void uninstallationResult(lu_field *result) { call(&Callbacks::uninstallation_result, result); }
    void dexoptNotify(const char *summary, const char *body, double progress)
    {
        call(&Callbacks::dexopt_notify, summary, body, progress);
    }

    /// The user invoked an action; the record (type 104) is borrowed for the call.
    std::function<void(const std::string &key, lu_field *action)> onAction;
    /// The notification is gone from the desktop.
    std::function<void(const std::string &key)> onRemoved;

    lu_config_parser *const config;
    std::optional<Callbacks> callbacks;
    void *userData = nullptr;

private:
    template <typename Entry, typename... Arguments> void call(Entry entry, Arguments... arguments)
    {
        if (callbacks && (*callbacks).*entry) {
            ((*callbacks).*entry)(this, arguments..., userData);
        }
    }
};

namespace lumd
{
using Host = ::lu_handle;
}
