// SPDX-License-Identifier: MIT
#include "bench/content.h"

#include "plugin/fields.h"
#include "standins/protocol/hints.h"
#include "tools/lumdsim/script.h"

#include <QtCore/QDateTime>

namespace
{

const QByteArray content = R"({
    "do": "add", "key": "k", "appName": "Mail", "title": "Mira Lund", "subText": "mira@example.com",
    "text": "See you at the station at half past six, the train leaves from platform two.",
    "package": "com.example.mail", "category": "email", "timestamp": 1700000000000, "color": 3368652, "importance": 3,
    "clearable": true, "vibrate": true,
    "actions": [{"title": "default", "identifier": "open"}, {"title": "Archive", "identifier": "archive"}]
})";

} // namespace

lumd::Record notification(const std::string &key, Kind kind)
{
    namespace id = field::notification;
    QString error;
    Event event;
    if (!readEvent(content, QDir(), &event, &error)) {
        qFatal("%s", qPrintable(error));
    }
    lumd::Record record = std::move(event.record);
    lumd::setString(record.get(), id::key, key);
    lumd::setBool(record.get(), id::ongoing, kind == Kind::Resident);
    if (kind == Kind::WithIcons) {
        const std::string icon(10240, 'i');
        lumd::setBytes(record.get(), id::smallIcon, icon.data(), icon.size());
        lumd::setBytes(record.get(), id::largeIcon, icon.data(), icon.size());
    }
    return record;
}

std::unique_ptr<Notification> published(const QString &key)
{
    auto object = std::make_unique<Notification>();
    object->setAppName(QStringLiteral("Mail"));
    object->setSummary(QStringLiteral("Mira Lund"));
    object->setBody(QStringLiteral("See you at the station at half past six, the train leaves from platform two."));
    object->setSubText(QStringLiteral("mira@example.com"));
    object->setHintValue(QStringLiteral("x-vorn-origin-package"), QStringLiteral("com.example.mail"));
    object->setHintValue(protocol::hint::originKey(), key);
    object->setHintValue(QStringLiteral("x-vorn-feedback"), QStringLiteral("email,email_exists"));
    object->setCategory(QStringLiteral("email"));
    object->setHintValue(QStringLiteral("x-vorn-color"), QStringLiteral("#3366cc"));
    object->setHintValue(QStringLiteral("x-vorn-vibrate"), true);
    object->setHintValue(QStringLiteral("x-vorn-display-on"), true);
    object->setTimestamp(QDateTime::fromMSecsSinceEpoch(1700000000000));
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
