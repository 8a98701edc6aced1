// SPDX-License-Identifier: MIT
#include "tools/lumdsim/script.h"

#include "tools/harness/record.h"

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

QString readMembers(const QJsonObject &object, const std::vector<Member> &members, const QDir &base, Fields *fields);

/// Invalid when the elements do not fit, with what is wrong with a member of one in `error`.
QVariant listValue(const QJsonArray &array, bool ofActions, const QDir &base, QString *error)
{
    std::vector<Fields> elements;
    Choices choices;
    for (const QJsonValue &element : array) {
        if (ofActions && element.isObject()) {
            *error = readMembers(element.toObject(), actionElement(), base, &elements.emplace_back());
        } else if (!ofActions && element.isString()) {
            choices.push_back(element.toString().toStdString());
        } else {
            return {};
        }
        if (!error->isEmpty()) {
            return {};
        }
    }
    return ofActions ? list(elements) : list(choices);
}

/// What the field holds; invalid when the value does not fit.
QVariant fieldValue(uint32_t id, const QJsonValue &value, const QDir &base, QString *error)
{
    const QVariant plain = value.toVariant();
    const auto only = [](bool fits, const QVariant &fitting) { return fits ? fitting : QVariant(); };
    switch (field::typeCode(id)) {
    case field::String:
        return only(value.isString(), plain);
    case field::Integer: {
        const QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODate);
        const QVariant number = time.isValid() ? time.toMSecsSinceEpoch() : plain;
        return only(number.userType() == QMetaType::LongLong, number); // not so if broken, or beyond 64 bits
    }
    case field::Boolean:
        return only(value.isBool(), plain);
    case field::Bytes: {
        QFile file(base.filePath(value.toString()));
        return value.isString() && file.open(QIODevice::ReadOnly) ? QVariant(file.readAll()) : QVariant();
    }
    case field::List:
        return only(value.isArray(), listValue(value.toArray(), id == field::notification::actions, base, error));
    default:
        return only(value.isDouble(), plain);
    }
}

/// What is wrong with the object; empty when nothing is. An absent member is an absent field.
QString readMembers(const QJsonObject &object, const std::vector<Member> &members, const QDir &base, Fields *fields)
{
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const auto member = findByName(members, entry.key());
        if (member == members.end()) {
            return QStringLiteral("\"%1\" is unknown here").arg(entry.key());
        }
        QString error;
        const QVariant value = fieldValue(member->id, entry.value(), base, &error);
        if (!value.isValid()) {
            const QString kind = QLatin1String(kinds[field::typeCode(member->id)]);
            return error.isEmpty() ? QStringLiteral("\"%1\" is not %2").arg(entry.key(), kind) : error;
        }
        fields->emplace_back(member->id, value);
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
    Fields fields;
    *error = readMembers(event->members, verb->members, base, &fields);
    event->record = verb->recordType != 0 ? record(verb->recordType, fields) : nullptr;
    return error->isEmpty();
}
