// SPDX-License-Identifier: MIT
#include "tools/lumdsim/script.h"

#include "plugin/fields.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

using lumd::Host;

/// A member of a JSON object. The type code of the identifier says what its value is: a byte array is the content of
/// the file named, an integer may be a local time in ISO 8601, a list holds action elements or strings. Type code 0: a
/// number that goes into no record.
struct Member {
    const char *name;
    uint32_t id;
};

namespace
{

/// By type code.
constexpr const char *kinds[] = {"a number",
                                 "a string",
                                 "an integer",
                                 "",
                                 "true or false",
                                 "a file that can be read",
                                 "",
                                 "a list of the right elements"};

std::vector<Member> result(uint32_t detail)
{
    namespace id = field::result;
    return {{"code", id::code},
            {"appName", id::appName},
            {"headline", id::headline},
            {"detail", detail},
            {"message", id::message}};
}

void dexopt(const Host &host, const Event &event)
{
    host.dexoptNotify(event.text("summary").toUtf8().constData(), event.text("body").toUtf8().constData(),
                      event.members.value(QStringLiteral("progress")).toDouble());
}

// clang-format off
const std::vector<Member> &actionElement()
{
    namespace id = field::action;
    static const std::vector<Member> members = {
        {"title", id::title}, {"inputLabel", id::inputLabel}, {"identifier", id::identifier},
        {"freeInput", id::freeInput}, {"choices", id::choices}};
    return members;
}

const std::vector<Verb> &verbs()
{
    namespace id = field::notification;
    static const Member key = {"key", field::String};
    static const Member action = {"action", field::String};
    static const std::vector<Verb> table = {
        {"add", "host adds", {
            {"key", id::key}, {"appName", id::appName}, {"title", id::title}, {"text", id::text},
            {"subText", id::subText}, {"package", id::packageName}, {"category", id::category},
            {"smallIcon", id::smallIcon}, {"largeIcon", id::largeIcon}, {"timestamp", id::timestamp},
            {"color", id::color}, {"ledColor", id::ledColor}, {"progressMax", id::progressMax},
            {"progress", id::progress}, {"importance", id::importance}, {"itemCount", id::itemCount},
            {"silent", id::silent}, {"vibrate", id::vibrate}, {"indeterminate", id::indeterminate},
            {"ongoing", id::ongoing}, {"clearable", id::clearable}, {"lowUrgency", id::lowUrgency},
            {"actions", id::actions}},
            1, lumd::notificationRecord, [](const Host &h, const Event &e) { h.add(e.record.get()); }},
        {"remove", "host removes", {key}, 1, 0,
            [](const Host &h, const Event &e) { h.remove(e.text("key").toUtf8().constData()); }},
        {"clear", "host clears", {}, 0, 0, [](const Host &h, const Event &) { h.clear(); }},
        {"connected", "host connects", {}, 0, 0, [](const Host &h, const Event &) { h.connected(); }},
        {"publish", "host publishes", {{"text", field::message::text}, {"warning", field::message::warning}},
            0, lumd::messageRecord, [](const Host &h, const Event &e) { h.publish(e.record.get()); }},
        {"installResult", "host installs", result(field::result::installationDetail), 0,
            lumd::installationResultRecord, [](const Host &h, const Event &e) { h.installationResult(e.record.get()); }},
        {"uninstallResult", "host uninstalls", result(field::result::uninstallationDetail), 0,
            lumd::uninstallationResultRecord, [](const Host &h, const Event &e) { h.uninstallationResult(e.record.get()); }},
        {"dexopt", "host optimises", {{"summary", field::String}, {"body", field::String}, {"progress", 0}}, 0, 0, dexopt},
        {"wait", "time passes", {{"ms", field::Integer}}, 1},
        {"invoke", "user invokes", {key, action}, 2},
        {"reply", "user replies", {key, action, {"text", field::String}}, 3},
        {"dismiss", "user dismisses", {key}, 1},
    };
    return table;
}
// clang-format on

template <typename Table> auto findByName(const Table &table, const QString &name)
{
    return std::find_if(table.begin(), table.end(), [&](const auto &row) { return name == QLatin1String(row.name); });
}

QString setMembers(lu_field *record, const std::vector<Member> &members, const QJsonObject &object, const QDir &base);

/// False when the elements do not fit, with what is wrong with a member of one in `error`.
bool setList(lu_field *record, uint32_t id, const QJsonArray &array, const QDir &base, QString *error)
{
    std::vector<lumd::Record> records;
    std::vector<std::string> strings;
    for (const QJsonValue &element : array) {
        if (element.isObject() && id == field::notification::actions) {
            records.push_back(lumd::newRecord(lumd::actionElementRecord));
            *error = setMembers(records.back().get(), actionElement(), element.toObject(), base);
        } else if (element.isString() && id != field::notification::actions) {
            strings.push_back(element.toString().toStdString());
        } else {
            return false;
        }
    }
    id == field::notification::actions ? lumd::setRecords(record, id, std::move(records))
                                       : lumd::setStrings(record, id, std::move(strings));
    return error->isEmpty();
}

/// False when the value does not fit. Without a record, nothing is set.
bool setMember(lu_field *record, uint32_t id, const QJsonValue &value, const QDir &base, QString *error)
{
    switch (field::typeCode(id)) {
    case field::String:
        lumd::setString(record, id, value.toString().toStdString());
        return value.isString();
    case field::Integer: {
        const QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODate);
        const QVariant number = time.isValid() ? time.toMSecsSinceEpoch() : value.toVariant();
        lumd::setInt(record, id, number.toLongLong());
        return number.userType() == QMetaType::LongLong; // not so if broken, or beyond 64 bits
    }
    case field::Boolean:
        lumd::setBool(record, id, value.toBool());
        return value.isBool();
    case field::Bytes: {
        QFile file(base.filePath(value.toString()));
        const bool readable = value.isString() && file.open(QIODevice::ReadOnly);
        const QByteArray bytes = readable ? file.readAll() : QByteArray();
        lumd::setBytes(record, id, bytes.constData(), static_cast<size_t>(bytes.size()));
        return readable;
    }
    case field::List:
        return value.isArray() && setList(record, id, value.toArray(), base, error);
    default:
        return value.isDouble();
    }
}

/// What is wrong with the object; empty when nothing is. An absent member is an absent field.
QString setMembers(lu_field *record, const std::vector<Member> &members, const QJsonObject &object, const QDir &base)
{
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const auto member = findByName(members, entry.key());
        if (member == members.end()) {
            return QStringLiteral("\"%1\" is unknown here").arg(entry.key());
        }
        QString error;
        if (!setMember(record, member->id, entry.value(), base, &error)) {
            const QString kind = QLatin1String(kinds[field::typeCode(member->id)]);
            return error.isEmpty() ? QStringLiteral("\"%1\" is not %2").arg(entry.key(), kind) : error;
        }
    }
    return {};
}

} // namespace

bool readEvent(const QByteArray &line, const QDir &base, Event *event, QString *error)
{
    const QByteArray content = line.trimmed();
    if (content.isEmpty() || content.startsWith('#')) {
        event->comment = QString::fromUtf8(content);
        return true;
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(content, &problem);
    if (!document.isObject()) {
        *error = document.isNull() ? problem.errorString() : QStringLiteral("not a JSON object");
        return false;
    }
    event->members = document.object();
    const QString name = event->members.take(QStringLiteral("do")).toString();
    const auto verb = findByName(verbs(), name);
    if (verb == verbs().end()) {
        *error = QStringLiteral("there is nothing to do that is called \"%1\"").arg(name);
        return false;
    }
    const auto required = verb->members.begin() + static_cast<ptrdiff_t>(verb->required);
    const auto missing = std::find_if(verb->members.begin(), required, [event](const Member &member) {
        return !event->members.contains(QLatin1String(member.name));
    });
    if (missing != required) {
        *error = QStringLiteral("\"%1\" is missing").arg(QLatin1String(missing->name));
        return false;
    }
    event->verb = &*verb;
    event->record = verb->recordType != 0 ? lumd::newRecord(verb->recordType) : nullptr;
    *error = setMembers(event->record.get(), verb->members, event->members, base);
    return error->isEmpty();
}
