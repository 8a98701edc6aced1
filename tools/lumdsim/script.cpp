// SPDX-License-Identifier: MIT
#include "tools/lumdsim/script.h"

#include "plugin/fields.h"

#include <QtCore/QJsonDocument>

#include <algorithm>

namespace
{

using lumd::Host;

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

const std::vector<Verb> &verbs()
{
    namespace message = field::message;
    static const Member key = {"key", field::String};
    static const Member action = {"action", field::String};
    static const Member text = {"text", field::String};
    // clang-format off
    static const std::vector<Verb> table = {
        {"add", "host adds", notificationSchema, 1, [](const Host &h, const Event &e) { h.add(e.record.get()); }},
        {"remove", "host removes", {0, {key}}, 1,
            [](const Host &h, const Event &e) { h.remove(e.text("key").toUtf8().constData()); }},
        {"clear", "host clears", {}, 0, [](const Host &h, const Event &) { h.clear(); }},
        {"connected", "host connects", {}, 0, [](const Host &h, const Event &) { h.connected(); }},
        {"publish", "host publishes",
            {lumd::messageRecord, {{"text", message::text}, {"warning", message::warning}}}, 0,
            [](const Host &h, const Event &e) { h.publish(e.record.get()); }},
        {"installResult", "host installs",
            {lumd::installationResultRecord, result(field::result::installationDetail)}, 0,
            [](const Host &h, const Event &e) { h.installationResult(e.record.get()); }},
        {"uninstallResult", "host uninstalls",
            {lumd::uninstallationResultRecord, result(field::result::uninstallationDetail)}, 0,
            [](const Host &h, const Event &e) { h.uninstallationResult(e.record.get()); }},
        {"dexopt", "host optimises",
            {0, {{"summary", field::String}, {"body", field::String}, {"progress", 0}}}, 0, dexopt},
        {"wait", "time passes", {0, {{"ms", field::Integer}}}, 1},
        {"invoke", "user invokes", {0, {key, action}}, 2},
        {"reply", "user replies", {0, {key, action, text}}, 3},
        {"dismiss", "user dismisses", {0, {key}}, 1},
    };
    // clang-format on
    return table;
}

} // namespace

bool readEvent(const QByteArray &line, const QDir &iconBase, Event *event, QString *error)
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
    event->verb = event->members.take(QStringLiteral("do")).toString();
    const auto verb = std::find_if(verbs().begin(), verbs().end(),
                                   [event](const Verb &known) { return event->verb == QLatin1String(known.name); });
    if (verb == verbs().end()) {
        *error = QStringLiteral("there is nothing to do that is called \"%1\"").arg(event->verb);
        return false;
    }
    for (size_t i = 0; i < verb->required; ++i) {
        const char *const name = verb->schema.members[i].name;
        if (!event->members.contains(QLatin1String(name))) {
            *error = QStringLiteral("\"%1\" is missing").arg(QLatin1String(name));
            return false;
        }
    }
    error->clear();
    event->definition = &*verb;
    event->record = recordFromJson(verb->schema, event->members, iconBase, error);
    return error->isEmpty();
}
