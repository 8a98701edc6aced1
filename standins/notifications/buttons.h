// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/capabilities.h"
#include "standins/protocol/remoteaction.h"

#include <QtCore/QVector>

/// A button of a notification on another's server, or the tap on the notification itself.
struct Button {
    QString key; ///< the action's name in the protocol
    QString label;
    RemoteAction action;
    QString answer; ///< the answer to an action that takes text
};

/// The key of the button that comes with a field to type into, on servers that have one.
inline QString inlineReplyKey() { return QStringLiteral("inline-reply"); }

/// Returns the buttons for `remoteActions`, the tap last. An action that takes text becomes
/// - a field to type into, if the server has one (one for each notification),
/// - or a button for each of the first few choices,
/// - or a button that acts as a tap, so that the user types in the application. The action itself, invoked without an
///   answer, might send an empty message.
/// A server of our kind gets none, since it calls the methods itself; nor does one without actions, which would open a
/// dialog.
QVector<Button> buttons(const QVariantList &remoteActions, const Capabilities &server);

/// Returns the button that this signal of another's server reports. Some servers report buttons that were not offered;
/// the result is null then.
const Button *pressed(const QVector<Button> &buttons, const QString &signal, const QString &argument);
