// SPDX-License-Identifier: MIT
#include "tools/lumdsim/script.h"

#include "tools/lumdsim/members.h"

#include <QtCore/QJsonDocument>

#include <algorithm>

using lumd::Host;

namespace
{

std::vector<Member> result(uint32_t detail)
{
    namespace id = field::result;
    return {{"code", kind::integer, id::code},
            {"appName", kind::string, id::appName},
            {"headline", kind::string, id::headline},
            {"detail", kind::string, detail},
            {"message", kind::string, id::message}};
}

void dexopt(Host &host, const Event &event)
{
    host.dexoptNotify(event.text("summary").toUtf8().constData(), event.text("body").toUtf8().constData(),
                      event.members.value("progress").toDouble());
}

// clang-format off
const std::vector<Verb> &verbs()
{
    namespace id = field::notification;
    static const Member key = {"key", kind::string};
    static const Member action = {"action", kind::string};
    static const std::vector<Verb> table = {
        {"add", "host adds", {
            {"key", kind::string, id::key}, {"appName", kind::string, id::appName}, {"title", kind::string, id::title}, {"text", kind::string, id::text},
            {"subText", kind::string, id::subText}, {"package", kind::string, id::packageName}, {"category", kind::string, id::category},
            {"smallIcon", kind::png, id::smallIcon}, {"largeIcon", kind::png, id::largeIcon}, {"timestamp", kind::localTime, id::timestamp},
            {"color", kind::color, id::color}, {"ledColor", kind::color, id::ledColor}, {"progressMax", kind::integer, id::progressMax},
            {"progress", kind::integer, id::progress}, {"importance", kind::importance, id::importance}, {"itemCount", kind::integer, id::itemCount},
            {"silent", kind::boolean, id::silent}, {"vibrate", kind::boolean, id::vibrate}, {"indeterminate", kind::boolean, id::indeterminate},
            {"ongoing", kind::boolean, id::ongoing}, {"clearable", kind::boolean, id::clearable}, {"lowUrgency", kind::boolean, id::lowUrgency},
            {"actions", kind::actions, id::actions}},
            1, lumd::notificationRecord, [](Host &h, const Event &e) { h.add(e.record.get()); }},
        {"remove", "host removes", {key}, 1, 0,
            [](Host &h, const Event &e) { h.remove(e.text("key").toUtf8().constData()); }},
        {"clear", "host clears", {}, 0, 0, [](Host &h, const Event &) { h.clear(); }},
        {"connected", "host connects", {}, 0, 0, [](Host &h, const Event &) { h.connected(); }},
        {"publish", "host publishes", {{"text", kind::string, field::message::text}, {"warning", kind::boolean, field::message::warning}},
            0, lumd::messageRecord, [](Host &h, const Event &e) { h.publish(e.record.get()); }},
        {"installResult", "host installs", result(field::result::installationDetail), 0,
            lumd::installationResultRecord, [](Host &h, const Event &e) { h.installationResult(e.record.get()); }},
        {"uninstallResult", "host uninstalls", result(field::result::uninstallationDetail), 0,
            lumd::uninstallationResultRecord, [](Host &h, const Event &e) { h.uninstallationResult(e.record.get()); }},
        {"dexopt", "host optimises", {{"summary", kind::string}, {"body", kind::string}, {"progress", kind::number}}, 0, 0, dexopt},
        {"wait", "time passes", {{"ms", kind::duration}}, 1},
        {"invoke", "user invokes", {key, action}, 2},
        {"reply", "user replies", {key, action, {"text", kind::string}}, 3},
        {"dismiss", "user dismisses", {key}, 1},
    };
    return table;
}
// clang-format on

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
        const QString reason = document.isNull() ? QString(" (%1)").arg(problem.errorString()) : QString();
        *error = QString("not a JSON object%1; an event is a line such as %2").arg(reason, exampleEvent);
        return false;
    }
    event->members = document.object();
    const QJsonValue name = event->members.take("do");
    const auto verb = findByName(verbs(), name.toString());
    if (verb == verbs().end()) {
        *error = (name.isUndefined() ? "\"do\" is missing" : "unknown \"do\": " + jsonText(name)) + "; it is one of " +
                 names(verbs());
        return false;
    }
    const auto required = verb->members.begin() + static_cast<ptrdiff_t>(verb->required);
    const auto missing = std::find_if(verb->members.begin(), required,
                                      [event](const Member &member) { return !event->members.contains(member.name); });
    if (missing != required) {
        *error = QString("\"%1\" is missing").arg(missing->name);
        return false;
    }
    event->verb = &*verb;
    Fields fields;
    if (!readMembers(event->members, verb->name, verb->members, base, &fields, error)) {
        return false;
    }
    event->record = verb->recordType != 0 ? record(verb->recordType, fields) : nullptr;
    return true;
}
