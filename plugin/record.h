// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/lumd.h"

#include <QtCore/QString>

/// Host records' fields as Qt values.
namespace field
{

/// The text of a string field, empty when it is absent.
inline QString text(lu_field *record, uint32_t id) { return QString::fromUtf8(lu_field_get_str(record, id)); }

/// The low 32 bits of an integer field, for the values that have no more.
inline int int32(lu_field *record, uint32_t id)
{
    return static_cast<int>(static_cast<uint32_t>(lu_field_get_int(record, id)));
}

} // namespace field
