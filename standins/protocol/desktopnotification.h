// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/hints.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

/// One notification as it travels over D-Bus: the arguments of `Notify` (freedesktop.org Desktop
/// Notifications 1.2) with the server's identifier. D-Bus signature (usssasa{sv}i).
struct DesktopNotification {
    uint id = 0;
    QString appName;
    QString appIcon;
    QString summary;
    QString body;
    QStringList actions; ///< name and text in turn
    QVariantMap hints;
    int expireTimeout = -1; ///< milliseconds; -1 the server's choice, 0 never
};
using DesktopNotificationList = QList<DesktopNotification>;
/// Identifiers, and the Android keys of what is shown under them.
using NotificationKeys = QMap<uint, QString>;

Q_DECLARE_METATYPE(DesktopNotification)
Q_DECLARE_METATYPE(DesktopNotificationList)
Q_DECLARE_METATYPE(NotificationKeys)

QDBusArgument &operator<<(QDBusArgument &argument, const DesktopNotification &notification);
/// Hints arrive as `plainMap` makes them.
const QDBusArgument &operator>>(const QDBusArgument &argument, DesktopNotification &notification);

/// `map` with every nested `QDBusArgument` and `QDBusVariant` turned into maps, lists and plain values, so that it can
/// be read. The types that it came with are lost.
QVariantMap plainMap(QVariantMap map);

/// The description of the D-Bus call that goes with the action `name`, from hints that `plainMap` made; empty when
/// there is none.
QVariantMap remoteAction(const QVariantMap &hints, const QString &name);

/// Makes the types known to Qt D-Bus; cheap to call again.
void registerDesktopNotificationTypes();

/// The D-Bus call that goes with an action, described as `protocol::hint::remoteActions()` says, over `connection`, a
/// bus or a peer (which has no names). `answer`, null for none, follows the action's own arguments.
QDBusMessage remoteActionCall(const QVariantMap &action, const QString *answer, const QDBusConnection &connection);

namespace protocol
{
inline QString service() { return QStringLiteral("org.freedesktop.Notifications"); }
inline QString objectPath() { return QStringLiteral("/org/freedesktop/Notifications"); }
} // namespace protocol
