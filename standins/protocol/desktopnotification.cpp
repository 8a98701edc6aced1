// SPDX-License-Identifier: MIT
#include "standins/protocol/desktopnotification.h"

#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusVariant>

namespace
{

/// D-Bus allows 64 levels in all; what is nested deeper than this serves nobody here.
constexpr int maximumDepth = 32;

QVariant plain(const QVariant &value, int depth);

QVariant plainArgument(const QDBusArgument &argument, int depth)
{
    switch (argument.currentType()) {
    case QDBusArgument::BasicType:
    case QDBusArgument::VariantType:
        return plain(argument.asVariant(), depth);
    case QDBusArgument::MapType: {
        QVariantMap map;
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QString key = plain(argument.asVariant(), depth).toString();
            map.insert(key, plain(argument.asVariant(), depth));
            argument.endMapEntry();
        }
        argument.endMap();
        return map;
    }
    case QDBusArgument::ArrayType:
    case QDBusArgument::StructureType: {
        const bool isArray = argument.currentType() == QDBusArgument::ArrayType;
        QVariantList list;
        isArray ? argument.beginArray() : argument.beginStructure();
        while (!argument.atEnd()) {
            list.append(plain(argument.asVariant(), depth));
        }
        isArray ? argument.endArray() : argument.endStructure();
        return list;
    }
    default:
        return {};
    }
}

QVariant plain(const QVariant &value, int depth)
{
    if (depth > maximumDepth) {
        return {};
    }
    const int type = value.userType();
    if (type == qMetaTypeId<QDBusArgument>()) {
        return plainArgument(value.value<QDBusArgument>(), depth + 1);
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return plain(value.value<QDBusVariant>().variant(), depth + 1);
    }
    if (type == qMetaTypeId<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    if (type == qMetaTypeId<QDBusSignature>()) {
        return value.value<QDBusSignature>().signature();
    }
    if (type == QMetaType::QVariantMap) {
        QVariantMap map = value.toMap();
        for (QVariant &member : map) {
            member = plain(member, depth + 1);
        }
        return map;
    }
    if (type == QMetaType::QVariantList) {
        QVariantList list = value.toList();
        for (QVariant &element : list) {
            element = plain(element, depth + 1);
        }
        return list;
    }
    return value;
}

} // namespace

QDBusArgument &operator<<(QDBusArgument &argument, const DesktopNotification &notification)
{
    argument.beginStructure();
    argument << notification.id << notification.appName << notification.appIcon << notification.summary
             << notification.body << notification.actions << notification.hints << notification.expireTimeout;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DesktopNotification &notification)
{
    argument.beginStructure();
    argument >> notification.id >> notification.appName >> notification.appIcon >> notification.summary >>
        notification.body >> notification.actions >> notification.hints >> notification.expireTimeout;
    argument.endStructure();
    notification.hints = plainMap(notification.hints);
    return argument;
}

QVariantMap plainMap(const QVariantMap &map) { return plain(map, 0).toMap(); }

void registerDesktopNotificationTypes()
{
    qDBusRegisterMetaType<DesktopNotification>();
    qDBusRegisterMetaType<DesktopNotificationList>();
    qDBusRegisterMetaType<NotificationKeys>();
}

QDBusMessage remoteActionCall(const QVariantMap &action, const QString *answer, const QDBusConnection &connection)
{
    const auto text = [&action](const char *member) { return action.value(QLatin1String(member)).toString(); };
    const bool isBus = connection.interface() != nullptr;
    QDBusMessage message = QDBusMessage::createMethodCall(isBus ? text("service") : QString(), text("path"),
                                                          text("interface"), text("method"));
    QVariantList arguments = action.value(QStringLiteral("arguments")).toList();
    if (answer) {
        arguments.append(*answer);
    }
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}
