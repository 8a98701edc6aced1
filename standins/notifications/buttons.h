// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/capabilities.h"

#include <QtCore/QVariant>
#include <QtCore/QVector>

/// A button of a notification on another's server, or the tap on the notification itself.
struct Button {
    QString key; ///< the action's name in the protocol
    QString label;
    QVariantMap action; ///< as `Notification::remoteAction` describes it
    QString answer;     ///< the answer to an action that takes text
};

/// The key of the button that comes with a field to type into, on servers that have one.
inline QString inlineReplyKey() { return QStringLiteral("inline-reply"); }

/// The buttons for `remoteActions`, the tap last. Actions that take text are
/// - a field to type into, where the server has one (it has one a notification),
/// - one button for each of the first few choices, which answers with it,
/// - where neither does, a button that does what a tap on the notification does: the application is the place to
///   type. Without an answer the action itself must not be invoked; an application might send an empty message.
/// None on a server of our kind, which calls the methods itself, and on one without actions, which would open a dialog.
QVector<Button> buttons(const QVariantList &remoteActions, const Capabilities &server);

/// The button that a signal of another's server, with this argument, means; null when none was offered: some servers
/// report such all the same.
const Button *pressed(const QVector<Button> &buttons, const QString &signal, const QString &argument);
