// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

class NotificationPrivate;

/// What the server can do, as far as it changes what it is sent.
struct ServerCapabilities {
    bool bodyMarkup = true; ///< the safe guess: escaped text is readable everywhere, raw text may not be shown
    bool persistence = false;
    /// It calls the actions' methods and knows all our hints. The safe guess again: no call is better than two.
    bool ours = true;
    bool inlineReply = false; ///< it has a field to type an answer into
    bool bar = false;         ///< it draws the progress along with the texts
    bool bareGauge = false;   ///< it draws the progress in place of the texts

    static ServerCapabilities named(const QStringList &names);
};

/// `notification` as the arguments of `Notify`.
DesktopNotification toWire(const NotificationPrivate &notification, const ServerCapabilities &server);
/// Whether it might not fit into a D-Bus message, which would cost the whole connection.
bool exceedsMessage(const DesktopNotification &wire);
/// The reverse, for what a server holds.
NotificationPrivate fromWire(const DesktopNotification &wire);

/// Plain `text` for a server that takes markup.
QString markup(const QString &text);

/// The name under which this program's notifications are found again.
QString ownerName();
