// SPDX-License-Identifier: MIT
#pragma once

#include "notification.h"

#include <QtDBus/QDBusConnection>

/// Chooses the connection over which all notifications of the process go.
class VORN_NOTIFICATIONS_EXPORT NotificationConnectionManager
{
public:
    /// Uses `connection`, a bus or a peer, from now on; until then it is the session bus. Live notifications move from
    /// the one to the other. False, with the connection in use kept, when `connection` is not connected.
    static bool useDBusConnection(const QDBusConnection &connection);
};
