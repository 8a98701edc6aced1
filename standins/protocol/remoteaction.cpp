// SPDX-License-Identifier: MIT
#include "standins/protocol/remoteaction.h"

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <tuple>

namespace
{

auto members(const RemoteAction &action)
{
    return std::tie(action.name, action.displayName, action.service, action.path, action.interface, action.method,
                    action.arguments, action.takesText, action.freeInput, action.inputLabel, action.choices);
}

/// `text` for use within the quotes of a JSON string. Most texts have nothing to escape; for these Qt would take
/// several times as long as all the rest of `toJson`.
QString escaped(const QString &text)
{
    const bool plain = std::none_of(text.cbegin(), text.cend(), [](QChar c) {
        return c < QLatin1Char(' ') || c == QLatin1Char('"') || c == QLatin1Char('\\');
    });
    if (plain) {
        return text;
    }
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(2, array.size() - 4)); // without [" and "]
}

QString toJson(const QStringList &texts)
{
    QStringList strings;
    for (const QString &text : texts) {
        strings.append(QStringLiteral("\"%1\"").arg(escaped(text)));
    }
    return strings.join(QLatin1Char(','));
}

QString toJson(const RemoteAction &action)
{
    QString input;
    if (action.takesText) {
        input = QStringLiteral(R"(,"input":{"label":"%1","freeInput":%2,"choices":[%3]})")
                    .arg(escaped(action.inputLabel), QVariant(action.freeInput).toString(), toJson(action.choices));
    }
    return QStringLiteral(R"({"name":"%1","displayName":"%2","service":"%3","path":"%4","interface":"%5",)"
                          R"("method":"%6","arguments":[%7]%8})")
        .arg(escaped(action.name), escaped(action.displayName), escaped(action.service), escaped(action.path),
             escaped(action.interface), escaped(action.method), toJson(QVariant(action.arguments).toStringList()),
             input);
}

RemoteAction fromJson(const QJsonObject &json)
{
    const auto text = [&json](const char *member) { return json.value(QLatin1String(member)).toString(); };
    const QVariantMap input = json.value(QLatin1String("input")).toObject().toVariantMap();
    RemoteAction action;
    action.name = text("name");
    action.displayName = text("displayName");
    action.service = text("service");
    action.path = text("path");
    action.interface = text("interface");
    action.method = text("method");
    action.arguments = json.value(QLatin1String("arguments")).toArray().toVariantList();
    action.takesText = json.contains(QLatin1String("input"));
    action.freeInput = input.value(QStringLiteral("freeInput")).toBool();
    action.inputLabel = input.value(QStringLiteral("label")).toString();
    action.choices = input.value(QStringLiteral("choices")).toStringList();
    return action;
}

} // namespace

bool operator==(const RemoteAction &left, const RemoteAction &right) { return members(left) == members(right); }

QString remoteActionsText(const QVariantList &actions)
{
    QStringList texts;
    for (const QVariant &action : actions) {
        texts.append(toJson(action.value<RemoteAction>()));
    }
    return QLatin1Char('[') + texts.join(QLatin1Char(',')) + QLatin1Char(']');
}

QHash<QString, RemoteAction> remoteActions(const QVariantMap &hints)
{
    QHash<QString, RemoteAction> actions;
    const QByteArray text = hints.value(protocol::hint::remoteActions()).toString().toUtf8();
    const QJsonArray array = QJsonDocument::fromJson(text).array();
    for (const QJsonValue &element : array) {
        const RemoteAction action = fromJson(element.toObject());
        actions.insert(action.name, action);
    }
    return actions;
}

QDBusMessage remoteActionCall(const RemoteAction &action, const QString *answer, const QDBusConnection &connection)
{
    QDBusMessage message = QDBusMessage::createMethodCall(protocol::callee(connection, action.service), action.path,
                                                          action.interface, action.method);
    QVariantList arguments = action.arguments;
    if (answer) {
        arguments.append(*answer);
    }
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}
