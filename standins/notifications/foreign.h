// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/buttons.h"
#include "standins/notifications/capabilities.h"
#include "standins/notifications/notification_p.h"
#include "standins/protocol/desktopnotification.h"

/// How long a transient notification is shown there.
constexpr int transientMs = 4000;
/// Some servers never take it away, so we do. Others show one at a time, so it gets time to wait for two before it.
constexpr int transientLimitMs = 30000;

/// Gives `wire` the form that shows `content` best on a server that knows only the protocol.
void adaptToForeign(DesktopNotification &wire, const NotificationContent &content, const QVector<Button> &buttons,
                    const Capabilities &server);
