// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/wire.h"

#include <QtCore/QVector>

/// What a notification looks like on desktop servers that are not ours: they know the protocol and nothing else.

/// A button on such a server, or the tap on the notification itself.
struct Button {
    QString key; ///< the action's name in the protocol
    QString label;
    QVariantMap action; ///< what it invokes, as `Notification::remoteAction` describes it
    QString answer;     ///< what it answers to an action that takes text
};

/// The key of the button that comes with a field to type into, on servers that have one.
inline QString inlineReplyKey() { return QStringLiteral("inline-reply"); }

/// What `remoteActions` become. Actions that take text are
/// - a field to type into, where the server has one (it has one a notification),
/// - one button for each of the first few choices, which answers with it,
/// - where neither does, a button that does what a tap on the notification does: the application is the place to
///   type. Without an answer the action itself must not be invoked; an application might send an empty message.
QVector<Button> buttons(const QVariantList &remoteActions, bool inlineReply);

/// Puts into `wire` what has no place of its own in the protocol, or is drawn badly in its own place.
void adaptToForeign(DesktopNotification &wire, const NotificationPrivate &notification,
                    const ServerCapabilities &server);
