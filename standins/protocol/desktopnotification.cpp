// SPDX-License-Identifier: MIT
#include "standins/protocol/desktopnotification.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtDBus/QDBusMetaType>

QString remoteActionsText(const QVariantList &actions)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray::fromVariantList(actions)).toJson(QJsonDocument::Compact));
}

QHash<QString, QVariantMap> remoteActions(const QVariantMap &hints)
{
    QHash<QString, QVariantMap> actions;
    const QByteArray text = hints.value(protocol::hint::remoteActions()).toString().toUtf8();
    const QJsonArray array = QJsonDocument::fromJson(text).array();
    for (const QJsonValue &element : array) {
        const QVariantMap action = element.toObject().toVariantMap();
        actions.insert(action.value(QStringLiteral("name")).toString(), action);
    }
    return actions;
}

QDBusMessage remoteActionCall(const QVariantMap &action, const QString *answer, const QDBusConnection &connection)
{
    const auto text = [&action](const char *member) { return action.value(QLatin1String(member)).toString(); };
    QDBusMessage message = QDBusMessage::createMethodCall(protocol::callee(connection, text("service")), text("path"),
                                                          text("interface"), text("method"));
    QVariantList arguments = action.value(QStringLiteral("arguments")).toList();
    if (answer) {
        arguments.append(*answer);
    }
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

void registerDesktopNotificationTypes()
{
    qRegisterMetaType<DesktopNotification>();
    qDBusRegisterMetaType<NotificationKeys>();
}
