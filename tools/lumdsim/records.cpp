#include "records.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>

#include <algorithm>

// clang-format off
static const Schema actionSchema = {lumd::actionElementRecord, {
    {"title", 0x01}, {"inputLabel", 0x11}, {"identifier", 0x21}, {"freeInput", 0x44}, {"choices", 0x57}}};

const Schema notificationSchema = {lumd::notificationRecord, {
    {"key", 0x001}, {"appName", 0x011}, {"title", 0x021}, {"text", 0x031}, {"subText", 0x041},
    {"package", 0x051}, {"category", 0x071}, {"smallIcon", 0x095}, {"largeIcon", 0x0A5},
    {"timestamp", 0x0B2}, {"color", 0x0C2}, {"ledColor", 0x0D2}, {"progressMax", 0x0E2},
    {"progress", 0x0F2}, {"importance", 0x102}, {"itemCount", 0x112}, {"silent", 0x124},
    {"vibrate", 0x134}, {"indeterminate", 0x144}, {"ongoing", 0x154}, {"clearable", 0x164},
    {"lowUrgency", 0x174}, {"actions", 0x187, &actionSchema}}};

/// By type code.
static const char *const kinds[] = {"a number", "a string", "an integer", "", "true or false",
                                    "a file that can be read", "", "a list of the right elements"};
// clang-format on

static bool setList(lu_field *record, const Member &member, const QJsonArray &array, const QDir &base, QString *error)
{
    std::vector<lumd::Record> records;
    std::vector<std::string> strings;
    for (const QJsonValue &element : array) {
        if (member.elements && element.isObject()) {
            records.push_back(recordFromJson(*member.elements, element.toObject(), base, error));
            if (!records.back()) {
                return false;
            }
        } else if (!member.elements && element.isString()) {
            strings.push_back(element.toString().toStdString());
        } else {
            return false;
        }
    }
    if (member.elements) {
        lumd::setRecords(record, member.id, std::move(records));
    } else {
        lumd::setStrings(record, member.id, std::move(strings));
    }
    return true;
}

/// False, with the record in any state, when the value does not fit.
static bool setMember(lu_field *record, const Member &member, const QJsonValue &value, const QDir &base, QString *error)
{
    switch (member.id & 15) {
    case 1:
        lumd::setString(record, member.id, value.toString().toStdString());
        return value.isString();
    case 2:
        lumd::setInt(record, member.id, value.toVariant().toLongLong());
        return value.toVariant().userType() == QMetaType::LongLong; // not so if broken, or beyond 64 bits
    case 4:
        lumd::setBool(record, member.id, value.toBool());
        return value.isBool();
    case 5: {
        QFile file(base.filePath(value.toString()));
        const bool readable = value.isString() && file.open(QIODevice::ReadOnly);
        const QByteArray bytes = readable ? file.readAll() : QByteArray();
        lumd::setBytes(record, member.id, bytes.constData(), static_cast<size_t>(bytes.size()));
        return readable;
    }
    case 7:
        return value.isArray() && setList(record, member, value.toArray(), base, error);
    default:
        return value.isDouble();
    }
}

lumd::Record recordFromJson(const Schema &schema, const QJsonObject &object, const QDir &base, QString *error)
{
    lumd::Record record = lumd::newRecord(schema.recordType);
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const auto member = std::find_if(schema.members.begin(), schema.members.end(),
                                         [&](const Member &known) { return entry.key() == QLatin1String(known.name); });
        if (member == schema.members.end()) {
            *error = QStringLiteral("\"%1\" is unknown here").arg(entry.key());
            return nullptr;
        }
        if (!setMember(record.get(), *member, entry.value(), base, error)) {
            const QString kind = QLatin1String(kinds[member->id & 15]);
            *error = error->isEmpty() ? QStringLiteral("\"%1\" is not %2").arg(entry.key(), kind) : *error;
            return nullptr;
        }
    }
    return record;
}

lumd::Record notificationFromJson(const QJsonObject &object, const QDir &iconBase, QString *error)
{
    error->clear();
    return recordFromJson(notificationSchema, object, iconBase, error);
}
