// SPDX-License-Identifier: MIT
#include "bench/content.h"

#include "plugin/fields.h"

QByteArray text(int version)
{
    return "See you at the station at half past six, the train leaves from platform " +
           QByteArray::number(version % 10);
}

QByteArray icon() { return {10 * 1024, 'i'}; }

lumd::Record record(const Item &item)
{
    namespace id = field::notification;
    const auto action = [](const char *title, const char *identifier) {
        lumd::Record element = lumd::newRecord(lumd::actionElementRecord);
        lumd::setString(element.get(), field::action::title, title);
        lumd::setString(element.get(), field::action::identifier, identifier);
        return element;
    };
    lumd::Record notification = lumd::newRecord(lumd::notificationRecord);
    lu_field *const fields = notification.get();
    // All keys are of one length, so that all messages are.
    lumd::setString(fields, id::key, "0|com.example.mail|" + std::to_string(1000000 + item.number) + "|null|10083");
    lumd::setString(fields, id::appName, "Mail");
    lumd::setString(fields, id::title, "Mira Lund");
    lumd::setString(fields, id::subText, "mira@example.com");
    lumd::setString(fields, id::text, text(item.version).toStdString());
    lumd::setString(fields, id::packageName, "com.example.mail");
    lumd::setString(fields, id::category, "email");
    lumd::setInt(fields, id::timestamp, 1700000000000);
    lumd::setInt(fields, id::color, 0x3366cc);
    lumd::setInt(fields, id::importance, 3);
    lumd::setBool(fields, id::clearable, true);
    lumd::setBool(fields, id::ongoing, true); // stays when it is invoked
    lumd::setBool(fields, id::vibrate, true);
    if (item.icons) {
        const QByteArray bytes = icon();
        for (const uint32_t field : {id::smallIcon, id::largeIcon}) {
            lumd::setBytes(fields, field, bytes.constData(), static_cast<size_t>(bytes.size()));
        }
    }
    std::vector<lumd::Record> actions;
    actions.push_back(action("default", "open"));
    actions.push_back(action("Archive", "archive"));
    lumd::setRecords(fields, id::actions, std::move(actions));
    return notification;
}
