#include "content.h"

#include "translation/fields.h"

#include <QtCore/QDateTime>

namespace
{

namespace id = field::notification;
namespace actionId = field::action;

constexpr int64_t timestamp = 1700000000000;
constexpr const char *body = "See you at the station at half past six, the train leaves from platform two.";

lumd::Record action(const char *title, const char *identifier)
{
    lumd::Record record = lumd::newRecord(lumd::actionElementRecord);
    lumd::setString(record.get(), actionId::title, title);
    lumd::setString(record.get(), actionId::identifier, identifier);
    return record;
}

} // namespace

lumd::Record notification(const std::string &key, Kind kind)
{
    lumd::Record record = lumd::newRecord(lumd::notificationRecord);
    lu_field *const fields = record.get();
    lumd::setString(fields, id::key, key);
    lumd::setString(fields, id::packageName, "com.example.mail");
    lumd::setString(fields, id::appName, "Mail");
    lumd::setString(fields, id::title, "Mira Lund");
    lumd::setString(fields, id::text, body);
    lumd::setString(fields, id::subText, "mira@example.com");
    lumd::setString(fields, id::category, "email");
    lumd::setInt(fields, id::timestamp, timestamp);
    lumd::setInt(fields, id::color, 0x3366CC);
    lumd::setInt(fields, id::importance, 3);
    lumd::setBool(fields, id::clearable, true);
    lumd::setBool(fields, id::vibrate, true);
    lumd::setBool(fields, id::ongoing, kind == Kind::Resident);
    std::vector<lumd::Record> actions;
    actions.push_back(action("default", "open"));
    actions.push_back(action("Archive", "archive"));
    lumd::setRecords(fields, id::actions, std::move(actions));
    if (kind == Kind::WithIcons) {
        const std::string icon(10240, 'i');
        lumd::setBytes(fields, id::smallIcon, icon.data(), icon.size());
        lumd::setBytes(fields, id::largeIcon, icon.data(), icon.size());
    }
    return record;
}

std::unique_ptr<Notification> published(const QString &key)
{
    auto object = std::make_unique<Notification>();
    object->setAppName(QStringLiteral("Mail"));
    object->setSummary(QStringLiteral("Mira Lund"));
    object->setBody(QLatin1String(body));
    object->setSubText(QStringLiteral("mira@example.com"));
    object->setHintValue(QStringLiteral("x-vorn-origin-package"), QStringLiteral("com.example.mail"));
    object->setHintValue(QStringLiteral("x-vorn-origin-key"), key);
    object->setHintValue(QStringLiteral("x-vorn-feedback"), QStringLiteral("email,email_exists"));
    object->setCategory(QStringLiteral("email"));
    object->setHintValue(QStringLiteral("x-vorn-color"), QStringLiteral("#3366cc"));
    object->setHintValue(QStringLiteral("x-vorn-vibrate"), true);
    object->setHintValue(QStringLiteral("x-vorn-display-on"), true);
    object->setTimestamp(QDateTime::fromMSecsSinceEpoch(timestamp));
    object->setHintValue(QStringLiteral("x-vorn-priority"), 75);
    object->setUrgency(Notification::Normal);
    QVariantList actions;
    for (const auto &[name, title] : {std::pair(QStringLiteral("default"), QStringLiteral("default")),
                                      std::pair(QStringLiteral("Archive|archive"), QStringLiteral("Archive"))}) {
        actions.append(Notification::remoteAction(name, title, QStringLiteral("com.velmo.lumd"),
                                                  QStringLiteral("/com/velmo/lumd"), QStringLiteral("com.velmo.lumd"),
                                                  QStringLiteral("notificationActionInvoke"), {key, title}));
    }
    object->setRemoteActions(actions);
    object->publish();
    return object;
}
