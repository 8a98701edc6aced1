// SPDX-License-Identifier: MIT
#include "tools/lumdsim/records.h"

#include "plugin/fields.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>

#include <algorithm>

// clang-format off
namespace action = field::action;
static const Schema actionSchema = {lumd::actionElementRecord, {
    {"title", action::title}, {"inputLabel", action::inputLabel}, {"identifier", action::identifier},
    {"freeInput", action::freeInput}, {"choices", action::choices}}};

namespace id = field::notification;
const Schema notificationSchema = {lumd::notificationRecord, {
    {"key", id::key}, {"appName", id::appName}, {"title", id::title}, {"text", id::text}, {"subText", id::subText},
    {"package", id::packageName}, {"category", id::category}, {"smallIcon", id::smallIcon},
    {"largeIcon", id::largeIcon}, {"timestamp", id::timestamp}, {"color", id::color}, {"ledColor", id::ledColor},
    {"progressMax", id::progressMax}, {"progress", id::progress}, {"importance", id::importance},
    {"itemCount", id::itemCount}, {"silent", id::silent}, {"vibrate", id::vibrate},
    {"indeterminate", id::indeterminate}, {"ongoing", id::ongoing}, {"clearable", id::clearable},
    {"lowUrgency", id::lowUrgency}, {"actions", id::actions, &actionSchema}}};

/// By type code.
static const char *const kinds[] = {"a number", "a string", "an integer", "", "true or false",
                                    "a file that can be read", "", "a list of the right elements"};
// clang-format on

/// A local time is the same on every clock, wherever a script is played.
static QVariant integer(const QJsonValue &value)
{
    const QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODate);
    return time.isValid() ? time.toMSecsSinceEpoch() : value.toVariant();
}

static bool setList(lu_field *record, const Member &member, const QJsonArray &array, const QDir &base, QString *error)
{
    std::vector<lumd::Record> records;
    std::vector<std::string> strings;
    for (const QJsonValue &element : array) {
        if (member.elements ? !element.isObject() : !element.isString()) {
            return false;
        }
        if (member.elements) {
            records.push_back(recordFromJson(*member.elements, element.toObject(), base, error));
            if (!records.back()) {
                return false;
            }
        } else {
            strings.push_back(element.toString().toStdString());
        }
    }
    if (member.elements) {
        lumd::setRecords(record, member.id, std::move(records));
    } else {
        lumd::setStrings(record, member.id, std::move(strings));
    }
    return true;
}

/// False, with the record in any state, when the value does not fit. Without a record, nothing is set.
static bool setMember(lu_field *record, const Member &member, const QJsonValue &value, const QDir &base, QString *error)
{
    switch (field::typeCode(member.id)) {
    case field::String:
        lumd::setString(record, member.id, value.toString().toStdString());
        return value.isString();
    case field::Integer:
        lumd::setInt(record, member.id, integer(value).toLongLong());
        return integer(value).userType() == QMetaType::LongLong; // not so if broken, or beyond 64 bits
    case field::Boolean:
        lumd::setBool(record, member.id, value.toBool());
        return value.isBool();
    case field::Bytes: {
        QFile file(base.filePath(value.toString()));
        const bool readable = value.isString() && file.open(QIODevice::ReadOnly);
        const QByteArray bytes = readable ? file.readAll() : QByteArray();
        lumd::setBytes(record, member.id, bytes.constData(), static_cast<size_t>(bytes.size()));
        return readable;
    }
    case field::List:
        return value.isArray() && setList(record, member, value.toArray(), base, error);
    default:
        return value.isDouble();
    }
}

lumd::Record recordFromJson(const Schema &schema, const QJsonObject &object, const QDir &base, QString *error)
{
    lumd::Record record = schema.recordType != 0 ? lumd::newRecord(schema.recordType) : nullptr;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const auto member = std::find_if(schema.members.begin(), schema.members.end(),
                                         [&](const Member &known) { return entry.key() == QLatin1String(known.name); });
        if (member == schema.members.end()) {
            *error = QStringLiteral("\"%1\" is unknown here").arg(entry.key());
            return nullptr;
        }
        if (!setMember(record.get(), *member, entry.value(), base, error)) {
            const QString kind = QLatin1String(kinds[field::typeCode(member->id)]);
            *error = error->isEmpty() ? QStringLiteral("\"%1\" is not %2").arg(entry.key(), kind) : *error;
            return nullptr;
        }
    }
    return record;
}

lumd::Record notificationFromJson(const QJsonObject &object, const QDir &iconBase, QString *error)
{
    return recordFromJson(notificationSchema, object, iconBase, error);
}
