// SPDX-License-Identifier: MIT
#include "tools/lumdsim/output.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace
{

QJsonObject event(QLatin1String name, const QString &key)
{
    return {{QStringLiteral("event"), name}, {QStringLiteral("key"), key}};
}

QString key(const DesktopNotification &notification)
{
    return notification.hints.value(protocol::hint::originKey()).toString();
}

QJsonObject hints(const DesktopNotification &notification)
{
    QVariantMap hints = notification.hints;
    for (QVariant &value : hints) {
        if (value.userType() == QMetaType::UChar) { // would become a string
            value = value.toInt();
        }
    }
    return QJsonObject::fromVariantMap(hints);
}

QJsonArray actions(const DesktopNotification &notification)
{
    QJsonArray array;
    const QVariantList remoteActions = notification.hints.value(protocol::hint::remoteActions()).toList();
    for (const QVariant &remoteAction : remoteActions) {
        const QJsonObject action = QJsonObject::fromVariantMap(remoteAction.toMap());
        array.append(QJsonObject{
            {QStringLiteral("name"), action.value(QStringLiteral("name"))},
            {QStringLiteral("title"), action.value(QStringLiteral("displayName"))},
            {QStringLiteral("input"), action.contains(QStringLiteral("input"))},
        });
    }
    return array;
}

} // namespace

void Output::say(const QString &line) const
{
    if (!m_json) {
        print(printable(line) + QLatin1Char('\n'));
    }
}

void Output::shown(const DesktopNotification &notification, bool replaced)
{
    QJsonObject json = event(QLatin1String("shown"), key(notification));
    json.insert(QStringLiteral("id"), static_cast<qint64>(notification.id));
    json.insert(QStringLiteral("replaced"), replaced);
    json.insert(QStringLiteral("appName"), notification.appName);
    json.insert(QStringLiteral("summary"), notification.summary);
    json.insert(QStringLiteral("body"), notification.body);
    json.insert(QStringLiteral("appIcon"), notification.appIcon);
    json.insert(QStringLiteral("actions"), actions(notification));
    json.insert(QStringLiteral("hints"), hints(notification));
    report(Shown, renderShown(notification, replaced), json);
}

void Output::action(const QString &key, const QString &title, const QString &identifier)
{
    QJsonObject json = event(QLatin1String("action"), key);
    json.insert(QStringLiteral("title"), title);
    json.insert(QStringLiteral("identifier"), identifier);
    const QString line = QStringLiteral("← host told: %1 (%2) of %3").arg(title, identifier, key);
    report(Told, printable(line), json);
}

void Output::invoked(const QString &method, const QStringList &arguments)
{
    QJsonObject json = event(QLatin1String("invoked"), arguments.value(0));
    json.insert(QStringLiteral("method"), method);
    json.insert(QStringLiteral("title"), arguments.value(1));
    if (arguments.size() > 2) {
        json.insert(QStringLiteral("answer"), arguments.at(2));
    }
    const QString line = QStringLiteral("← host called: %1(%2)").arg(method, arguments.join(QLatin1String(", ")));
    report(Told, printable(line), json);
}

void Output::closed(const DesktopNotification &notification, uint reason)
{
    QJsonObject json = event(QLatin1String("closed"), key(notification));
    json.insert(QStringLiteral("id"), static_cast<qint64>(notification.id));
    json.insert(QStringLiteral("reason"), static_cast<qint64>(reason));
    report(Closed, renderClosed(notification.id, notification.summary, reason), json);
}

void Output::removed(const QString &key)
{
    const QString line = QStringLiteral("← host told: %1 is gone").arg(key);
    report(Removed, printable(line), event(QLatin1String("removed"), key));
}

void Output::report(Rank rank, const QString &human, const QJsonObject &json)
{
    const QString text = m_json ? QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)) : human;
    m_held.emplace_back(rank, text.endsWith(QLatin1Char('\n')) ? text : text + QLatin1Char('\n'));
    ++m_reports;
    onReport();
}

void Output::flush()
{
    std::stable_sort(m_held.begin(), m_held.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    for (const auto &[rank, text] : m_held) {
        print(text);
    }
    m_held.clear();
}
