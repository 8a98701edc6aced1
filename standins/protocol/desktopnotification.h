// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/hints.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMetaType>

/// One notification as it travels over D-Bus: the arguments of `Notify` (freedesktop.org Desktop
/// Notifications 1.2) with the server's identifier.
struct DesktopNotification {
    uint id = 0;
    QString appName;
    QString appIcon;
    QString summary;
    QString body;
    QStringList actions; ///< name and text in turn
    QVariantMap hints;
    int expireTimeout = -1; ///< milliseconds; -1 the server's choice, 0 never

    /// The Android key; empty for a notification without one.
    QString key() const { return hints.value(protocol::hint::originKey()).toString(); }
};
/// The Android key of each notification, by identifier.
using NotificationKeys = QMap<uint, QString>;

Q_DECLARE_METATYPE(DesktopNotification)
Q_DECLARE_METATYPE(NotificationKeys)

/// Makes the types known to Qt; cheap to call again.
inline void registerDesktopNotificationTypes()
{
    qRegisterMetaType<DesktopNotification>();
    qDBusRegisterMetaType<NotificationKeys>();
}

namespace protocol
{
inline QString service() { return QStringLiteral("org.freedesktop.Notifications"); }
inline QString objectPath() { return QStringLiteral("/org/freedesktop/Notifications"); }
/// The name to call over `connection`: none on a peer connection, which has no bus names.
inline QString callee(const QDBusConnection &connection, const QString &name)
{
    return connection.baseService().isEmpty() ? QString() : name;
}

enum CloseReason : uint { Expired = 1, Dismissed = 2, OnRequest = 3 };
/// How long a transient notification stays.
constexpr int transientMs = 4000;
} // namespace protocol
