// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/buttons.h"
#include "standins/notifications/notification_p.h"

/// `content` as the arguments of `Notify`, to replace the notification `replacesId` unless that is 0. `buttons` are
/// those of the content, for `server`.
DesktopNotification toWire(const NotificationContent &content, uint replacesId, const QVector<Button> &buttons,
                           const Capabilities &server);
/// The part of it that is particular to servers of another kind.
void adaptToForeign(DesktopNotification &wire, const NotificationContent &content, const QVector<Button> &buttons,
                    const Capabilities &server);
/// Whether it might not fit into a D-Bus message, which would cost the whole connection.
bool exceedsMessage(const DesktopNotification &wire);

/// The name under which this program's notifications are found again; never empty.
QString ownerName();
