// SPDX-License-Identifier: MIT
#include "bench/content.h"

#include "tools/harness/record.h"

QByteArray text(int version)
{
    return "See you at the station at half past six, the train leaves from platform " +
           QByteArray::number(version % 10);
}

QByteArray icon() { return {10 * 1024, 'i'}; }

lumd::Record record(const Item &item)
{
    namespace n = field::notification;
    namespace a = field::action;
    // All keys are of one length, so that all messages are.
    const QByteArray key = "0|com.example.mail|" + QByteArray::number(1000000 + item.number) + "|null|10083";
    const std::vector<Fields> actions = {
        {{a::title, QByteArray("default")}, {a::identifier, QByteArray("open")}},
        {{a::title, QByteArray("Archive")}, {a::identifier, QByteArray("archive")}},
    };
    Fields fields = {
        {n::key, key},
        {n::appName, QByteArray("Mail")},
        {n::title, QByteArray("Mira Lund")},
        {n::subText, QByteArray("mira@example.com")},
        {n::text, text(item.version)},
        {n::packageName, QByteArray("com.example.mail")},
        {n::category, QByteArray("email")},
        {n::timestamp, 1700000000000LL},
        {n::color, 0x3366cc},
        {n::importance, 3},
        {n::clearable, true},
        {n::ongoing, true}, // stays when it is invoked
        {n::vibrate, true},
        {n::actions, list(actions)},
    };
    if (item.icons) {
        fields.emplace_back(n::smallIcon, icon());
        fields.emplace_back(n::largeIcon, icon());
    }
    return ::record(lumd::notificationRecord, fields);
}
