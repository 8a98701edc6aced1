// SPDX-License-Identifier: MIT
#include "tools/lumdsim/script.h"

#include <QtCore/QHash>
#include <QtCore/QJsonDocument>

#include "plugin/fields.h"

namespace
{

struct Verb {
    Schema schema = {};
    std::vector<const char *> required = {};
};

std::vector<Member> result(uint32_t detail)
{
    namespace id = field::result;
    return {{"code", id::code},
            {"appName", id::appName},
            {"headline", id::headline},
            {"detail", detail},
            {"message", id::message}};
}

const QHash<QString, Verb> &verbs()
{
    static const Member key = {"key", 0x01};
    static const Member action = {"action", 0x11};
    // clang-format off
    static const QHash<QString, Verb> table = {
        {QStringLiteral("add"), {notificationSchema, {"key"}}},
        {QStringLiteral("remove"), {{0, {key}}, {"key"}}},
        {QStringLiteral("clear"), {}},
        {QStringLiteral("connected"), {}},
        {QStringLiteral("publish"), {{lumd::messageRecord, {{"text", field::message::text}, {"warning", field::message::warning}}}}},
        {QStringLiteral("installResult"), {{lumd::installationResultRecord,
            result(field::result::installationDetail)}}},
        {QStringLiteral("uninstallResult"), {{lumd::uninstallationResultRecord,
            result(field::result::uninstallationDetail)}}},
        {QStringLiteral("dexopt"), {{0, {{"summary", 0x01}, {"body", 0x11}, {"progress", 0}}}}},
        {QStringLiteral("wait"), {{0, {{"ms", 0x02}}}, {"ms"}}},
        {QStringLiteral("invoke"), {{0, {key, action}}, {"key", "action"}}},
        {QStringLiteral("reply"), {{0, {key, action, {"text", 0x21}}}, {"key", "action", "text"}}},
        {QStringLiteral("dismiss"), {{0, {key}}, {"key"}}},
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
    const auto verb = verbs().constFind(event->verb);
    if (verb == verbs().constEnd()) {
        *error = QStringLiteral("there is nothing to do that is called \"%1\"").arg(event->verb);
        return false;
    }
    for (const char *const name : verb->required) {
        if (!event->members.contains(QLatin1String(name))) {
            *error = QStringLiteral("\"%1\" is missing").arg(QLatin1String(name));
            return false;
        }
    }
    error->clear();
    event->record = recordFromJson(verb->schema, event->members, iconBase, error);
    return event->record != nullptr;
}
