// SPDX-License-Identifier: MIT
#pragma once

#include "standins/lumd/host.h"

#include <QtCore/QDir>
#include <QtCore/QJsonObject>

struct Member;

/// What a JSON object may hold, and the type of the host's record that it becomes; 0 for none.
struct Schema {
    uint32_t recordType;
    std::vector<Member> members;
};

/// The type code of the identifier says what the value is: a byte array is the content of the file named, a list holds
/// records of the schema `elements` or strings, an integer may be a local time in ISO 8601. Type code 0: a number that
/// goes into no record.
struct Member {
    const char *name;
    uint32_t id;
    const Schema *elements = nullptr;
};

extern const Schema notificationSchema;

/// Checks the object and makes the schema's record of it, if there is any. An absent member is an absent field. Files
/// are looked up in `base`. What is wrong goes to `error`, which is left alone when nothing is.
lumd::Record recordFromJson(const Schema &schema, const QJsonObject &object, const QDir &base, QString *error);
lumd::Record notificationFromJson(const QJsonObject &object, const QDir &iconBase, QString *error);
