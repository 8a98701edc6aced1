// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// The fields of the host's records. Each record type has its own numbering.
namespace field
{

/// The type of a field's value: the low four bits of its identifier.
enum TypeCode : uint32_t { String = 1, Integer = 2, Boolean = 4, Bytes = 5, List = 7, RecordType = 8 };

/// The identifier of field, or of record type, number `index`.
constexpr uint32_t numbered(uint32_t index, TypeCode type) { return index * 16 + type; }
constexpr TypeCode typeCode(uint32_t identifier) { return static_cast<TypeCode>(identifier & 15U); }

namespace notification
{
constexpr uint32_t key = numbered(0, String);
constexpr uint32_t appName = numbered(1, String);
constexpr uint32_t title = numbered(2, String);
constexpr uint32_t text = numbered(3, String);
constexpr uint32_t subText = numbered(4, String);
constexpr uint32_t packageName = numbered(5, String);
constexpr uint32_t category = numbered(7, String);
constexpr uint32_t smallIcon = numbered(9, Bytes);    ///< PNG
constexpr uint32_t largeIcon = numbered(10, Bytes);   ///< PNG
constexpr uint32_t timestamp = numbered(11, Integer); ///< milliseconds since the Unix epoch, 0 for none
constexpr uint32_t color = numbered(12, Integer);     ///< ARGB, 0 for none
constexpr uint32_t ledColor = numbered(13, Integer);  ///< ARGB, 0 for none
constexpr uint32_t progressMax = numbered(14, Integer);
constexpr uint32_t progress = numbered(15, Integer);
constexpr uint32_t importance = numbered(16, Integer); ///< 0 to 5
constexpr uint32_t itemCount = numbered(17, Integer);
constexpr uint32_t silent = numbered(18, Boolean);
constexpr uint32_t vibrate = numbered(19, Boolean);
constexpr uint32_t indeterminate = numbered(20, Boolean);
constexpr uint32_t ongoing = numbered(21, Boolean);
constexpr uint32_t clearable = numbered(22, Boolean);
constexpr uint32_t lowUrgency = numbered(23, Boolean);
constexpr uint32_t actions = numbered(24, List); ///< records, see `action`
} // namespace notification

/// An element of a notification's actions, and the record that reports an invoked action to the host.
namespace action
{
constexpr uint32_t report = numbered(6, RecordType); ///< record type of the report
constexpr uint32_t title = numbered(0, String);
constexpr uint32_t inputLabel = numbered(1, String);
constexpr uint32_t identifier = numbered(2, String);
constexpr uint32_t reserved = numbered(3, String); ///< reported as the empty string
constexpr uint32_t freeInput = numbered(4, Boolean);
constexpr uint32_t choices = numbered(5, List); ///< strings
} // namespace action

namespace message
{
constexpr uint32_t text = numbered(7, String);
constexpr uint32_t warning = numbered(8, Boolean);
} // namespace message

/// The result of an installation or uninstallation.
namespace result
{
constexpr uint32_t code = numbered(0, Integer); ///< 0 for success
constexpr uint32_t appName = numbered(3, String);
constexpr uint32_t headline = numbered(4, String);
constexpr uint32_t uninstallationDetail = numbered(5, String);
constexpr uint32_t installationDetail = numbered(6, String);
constexpr uint32_t message = numbered(7, String);
} // namespace result

} // namespace field
