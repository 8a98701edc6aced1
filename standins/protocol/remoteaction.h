// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QHash>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

/// An action of a notification, and the D-Bus method to call when the user invokes it.
struct RemoteAction {
    QString name;
    QString displayName;
    QString service;
    QString path;
    QString interface;
    QString method;
    QVariantList arguments;
    bool takesText = false; ///< from the user; the members below are for such an action
    bool freeInput = false; ///< any text, not only one of the choices
    QString inputLabel;
    QStringList choices;
};
bool operator==(const RemoteAction &left, const RemoteAction &right);

Q_DECLARE_METATYPE(RemoteAction)

/// The text of the hint `protocol::hint::remoteActions()`, for values of the type `RemoteAction`.
QString remoteActionsText(const QVariantList &actions);
/// The actions in that hint, if it is among the `hints`, by their names.
QHash<QString, RemoteAction> remoteActions(const QVariantMap &hints);

/// The D-Bus call that goes with an action, over `connection`, a bus or a peer. `answer`, null for none, follows the
/// action's own arguments.
QDBusMessage remoteActionCall(const RemoteAction &action, const QString *answer, const QDBusConnection &connection);
