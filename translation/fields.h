#pragma once

#include "plugin/lumd.h"

#include <QtCore/QString>

/// Identifiers of the host records' fields: index * 16 + type code (1 string, 2 integer, 4 boolean,
/// 5 byte array, 7 list, 8 record type). They are numbered anew in each record type.
namespace field
{

namespace notification
{
constexpr uint32_t key = 0x001;
constexpr uint32_t appName = 0x011;
constexpr uint32_t title = 0x021;
constexpr uint32_t text = 0x031;
constexpr uint32_t subText = 0x041;
constexpr uint32_t packageName = 0x051;
constexpr uint32_t category = 0x071;
constexpr uint32_t smallIcon = 0x095; ///< PNG
constexpr uint32_t largeIcon = 0x0A5; ///< PNG
constexpr uint32_t timestamp = 0x0B2; ///< milliseconds since the Unix epoch, 0 for none
constexpr uint32_t color = 0x0C2;     ///< ARGB, 0 for none
constexpr uint32_t ledColor = 0x0D2;  ///< ARGB, 0 for none
constexpr uint32_t progressMax = 0x0E2;
constexpr uint32_t progress = 0x0F2;
constexpr uint32_t importance = 0x102; ///< 0 to 5
constexpr uint32_t itemCount = 0x112;
constexpr uint32_t silent = 0x124;
constexpr uint32_t vibrate = 0x134;
constexpr uint32_t indeterminate = 0x144;
constexpr uint32_t ongoing = 0x154;
constexpr uint32_t clearable = 0x164;
constexpr uint32_t lowUrgency = 0x174;
constexpr uint32_t actions = 0x187; ///< records, see `action`
} // namespace notification

/// An element of a notification's actions, and the record that reports an invoked action to the host.
namespace action
{
constexpr uint32_t record = 0x68; ///< record type of the report
constexpr uint32_t title = 0x01;
constexpr uint32_t inputLabel = 0x11;
constexpr uint32_t identifier = 0x21;
constexpr uint32_t reserved = 0x31; ///< reported as the empty string
constexpr uint32_t freeInput = 0x44;
constexpr uint32_t choices = 0x57; ///< strings
} // namespace action

namespace message
{
constexpr uint32_t text = 0x71;
constexpr uint32_t warning = 0x84;
} // namespace message

/// The result of an installation or uninstallation.
namespace result
{
constexpr uint32_t code = 0x02; ///< 0 for success
constexpr uint32_t appName = 0x31;
constexpr uint32_t headline = 0x41;
constexpr uint32_t uninstallationDetail = 0x51;
constexpr uint32_t installationDetail = 0x61;
constexpr uint32_t message = 0x71;
} // namespace result

/// The text of a string field, empty when it is absent.
inline QString text(lu_field *record, uint32_t id) { return QString::fromUtf8(lu_field_get_str(record, id)); }

/// The low 32 bits of an integer field, for the values that have no more.
inline int int32(lu_field *record, uint32_t id)
{
    return static_cast<int>(static_cast<uint32_t>(lu_field_get_int(record, id)));
}

} // namespace field
