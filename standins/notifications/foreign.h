// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/capabilities.h"
#include "standins/notifications/notification_p.h"
#include "standins/protocol/desktopnotification.h"

#include <optional>

/// What a notification looks like on desktop servers that are not ours: they know the protocol and nothing else.

/// What the user does on such a server.
struct Invocation {
    QVariantMap action; ///< as `Notification::remoteAction` describes it
    QString answer;     ///< to an action that takes text
    bool hasAnswer;
};

/// What `signal`, a signal's name, with `argument` means for a notification with `remoteActions`; nothing when that was
/// not offered, which some servers report all the same.
std::optional<Invocation> invoked(const QVariantList &remoteActions, const ServerCapabilities &server,
                                  const QString &signal, const QString &argument);

/// Puts into `wire` what has no place of its own in the protocol, or is drawn badly in its own place.
void adaptToForeign(DesktopNotification &wire, const NotificationContent &content, const ServerCapabilities &server);
