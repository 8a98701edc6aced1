// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/buttons.h"
#include "standins/notifications/notification_p.h"

/// Gives `wire` the form that shows `content` best on a server that knows only the protocol.
void adaptToForeign(DesktopNotification &wire, const NotificationContent &content, const QVector<Button> &buttons,
                    const Capabilities &server);
