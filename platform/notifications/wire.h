#pragma once

#include "desktopnotification.h"

class NotificationPrivate;

/// What the server can do, as far as it changes what it is sent.
struct ServerCapabilities {
    bool bodyMarkup = true; ///< the safe guess: escaped text is readable everywhere, raw text may not be shown
    bool persistence = false;
};

/// `notification` as the arguments of `Notify`.
DesktopNotification toWire(const NotificationPrivate &notification, const ServerCapabilities &server);
/// Whether it might not fit into a D-Bus message, which would cost the whole connection.
bool exceedsMessage(const DesktopNotification &wire);
/// The reverse, for what a server holds.
NotificationPrivate fromWire(const DesktopNotification &wire);

/// The name under which this program's notifications are found again.
QString ownerName();
