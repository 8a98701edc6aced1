// SPDX-License-Identifier: MIT
#include "standins/protocol/desktopnotification.h"

#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusVariant>

#include <algorithm>

static QVariant plain(const QVariant &value);

static QVariant plainArgument(const QDBusArgument &argument)
{
    const auto next = [&argument] { return plain(argument.asVariant()); };
    QVariantList list;
    QVariantMap map;
    switch (argument.currentType()) {
    case QDBusArgument::MapType:
        for (argument.beginMap(); !argument.atEnd(); argument.endMapEntry()) {
            argument.beginMapEntry();
            const QString key = next().toString();
            map.insert(key, next());
        }
        argument.endMap();
        return map;
    case QDBusArgument::ArrayType:
        for (argument.beginArray(); !argument.atEnd();) {
            list.append(next());
        }
        argument.endArray();
        return list;
    case QDBusArgument::StructureType:
        for (argument.beginStructure(); !argument.atEnd();) {
            list.append(next());
        }
        argument.endStructure();
        return list;
    default:
        return next();
    }
}

static QVariant plain(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        return plainArgument(value.value<QDBusArgument>());
    }
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        return plain(value.value<QDBusVariant>().variant());
    }
    if (value.userType() == qMetaTypeId<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    if (value.userType() == qMetaTypeId<QDBusSignature>()) {
        return value.value<QDBusSignature>().signature();
    }
    return value;
}

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

QVariantMap plainMap(QVariantMap map)
{
    std::transform(map.cbegin(), map.cend(), map.begin(), plain);
    return map;
}

QVariantMap remoteAction(const QVariantMap &hints, const QString &name)
{
    const QVariantList actions = hints.value(protocol::hint::remoteActions()).toList();
    for (const QVariant &action : actions) {
        if (action.toMap().value(QStringLiteral("name")) == name) {
            return action.toMap();
        }
    }
    return {};
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

void registerDesktopNotificationTypes()
{
    qDBusRegisterMetaType<DesktopNotification>();
    qDBusRegisterMetaType<DesktopNotificationList>();
    qDBusRegisterMetaType<NotificationKeys>();
}
