// SPDX-License-Identifier: MIT
#pragma once

#include "tools/harness/record.h"

#include <QtCore/QDir>
#include <QtCore/QJsonObject>

#include <algorithm>

/// A kind of value, and how a record's field is read from it. Where `read` fails without an error, `expected` says why.
struct Kind {
    const char *expected;
    bool (*read)(const QJsonValue &value, const QDir &base, QVariant *field, QString *error);
};

namespace kind
{
extern const Kind string, boolean, number, integer, importance, duration, color, localTime, png, choices, actions;
} // namespace kind

/// A member of a JSON object, and the field that it becomes; 0 where it goes into no record.
struct Member {
    const char *name;
    const Kind &kind;
    uint32_t id = 0;
};

/// Reads the fields of a record; an absent member is an absent field. Files are looked up in `base`. Messages call the
/// object `place`.
bool readMembers(const QJsonObject &object, const char *place, const std::vector<Member> &members, const QDir &base,
                 Fields *fields, QString *error);

/// Returns the value as JSON text, shortened for messages.
QString jsonText(const QJsonValue &value);

template <typename Table> auto findByName(const Table &table, const QString &name)
{
    return std::find_if(table.begin(), table.end(), [&](const auto &row) { return name == row.name; });
}

/// Lists the names for messages.
template <typename Table> QString names(const Table &table)
{
    QStringList names;
    for (const auto &row : table) {
        names.append(row.name);
    }
    return names.isEmpty() ? "nothing" : names.join(", ");
}
