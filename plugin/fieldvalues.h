// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/lumd.h"

#include <QtCore/QString>

/// Values of host records' fields as Qt and C++ types.
namespace field
{

/// The text of a string field, empty when it is absent.
inline QString text(lu_field *record, uint32_t id) { return QString::fromUtf8(lu_field_get_str(record, id)); }

/// The value of a boolean field, false when it is absent.
inline bool flag(lu_field *record, uint32_t id) { return lu_field_get_bool(record, id) != 0; }

/// The low 32 bits of an integer field, for values that have no more.
inline int int32(lu_field *record, uint32_t id)
{
    return static_cast<int>(static_cast<uint32_t>(lu_field_get_int(record, id)));
}

} // namespace field
