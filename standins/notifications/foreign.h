// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/capabilities.h"
#include "standins/notifications/notification_p.h"
#include "standins/protocol/desktopnotification.h"

class Notification;

/// What a notification looks like on desktop servers that are not ours: they know the protocol and nothing else.

/// Puts into `wire` what has no place of its own in the protocol, or is drawn badly in its own place.
void adaptToForeign(DesktopNotification &wire, const NotificationContent &content, const ServerCapabilities &server);

/// Tells `notification` of the action that `signal`, from another's server, means, and calls the action's method over
/// `connection`, which our server does itself. Nothing happens when it was not offered, which some servers report all
/// the same.
void invokeForeign(Notification *notification, const QDBusMessage &signal, const ServerCapabilities &server,
                   const QDBusConnection &connection);
