// SPDX-License-Identifier: MIT
#include "tools/lumdsim/output.h"

#include "standins/terminal/card.h"
#include "standins/terminal/text.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace
{

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
    const QHash<QString, QVariantMap> remote = remoteActions(notification.hints);
    for (int i = 0; i + 1 < notification.actions.size(); i += 2) {
        const QString &name = notification.actions.at(i);
        array.append(QJsonObject{
            {QStringLiteral("name"), name},
            {QStringLiteral("title"), notification.actions.at(i + 1)},
            {QStringLiteral("input"), remote.value(name).contains(QStringLiteral("input"))},
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

void Output::shown(const QString &key, const DesktopNotification &notification, bool replaced)
{
    report(Shown, "shown", key, notification.id,
           {{QStringLiteral("replaced"), replaced},
            {QStringLiteral("appName"), notification.appName},
            {QStringLiteral("appIcon"), notification.appIcon},
            {QStringLiteral("summary"), notification.summary},
            {QStringLiteral("body"), notification.body},
            {QStringLiteral("actions"), actions(notification)},
            {QStringLiteral("hints"), hints(notification)},
            {QStringLiteral("expireTimeout"), notification.expireTimeout}},
           m_json ? QString() : renderShown(notification, replaced));
}

void Output::unchanged(const QString &key)
{
    report(Shown, "unchanged", key, 0, {}, QStringLiteral("  unchanged, not sent"));
}

void Output::skipped(const QString &verb, const QString &key)
{
    report(Shown, "skipped", key, 0, {{QStringLiteral("do"), verb}},
           QStringLiteral("  skipped: on the desktop, you are the user"));
}

void Output::action(const QString &key, const QString &title, const QString &identifier)
{
    const QString chosen = identifier.isEmpty() ? title : QStringLiteral("%1 (%2)").arg(title, identifier);
    report(Told, "action", key, 0, {{QStringLiteral("title"), title}, {QStringLiteral("identifier"), identifier}},
           printable(QStringLiteral("← host told: %1 of %2").arg(chosen, key)));
}

void Output::invoked(const QString &method, const QStringList &arguments)
{
    QJsonObject json = {{QStringLiteral("method"), method}, {QStringLiteral("title"), arguments.value(1)}};
    if (arguments.size() > 2) {
        json.insert(QStringLiteral("answer"), arguments.at(2));
    }
    report(Told, "invoked", arguments.value(0), 0, json,
           printable(QStringLiteral("← host called: %1(%2)").arg(method, arguments.join(QLatin1String(", ")))));
}

void Output::closed(const QString &key, const DesktopNotification &notification, uint reason)
{
    report(Closed, "closed", key, notification.id, {{QStringLiteral("reason"), static_cast<qint64>(reason)}},
           renderClosed(notification, reason));
}

void Output::removed(const QString &key)
{
    report(Removed, "removed", key, 0, {}, printable(QStringLiteral("← host told: %1 is gone").arg(key)));
}

void Output::report(Rank rank, const char *event, const QString &key, uint id, QJsonObject json, const QString &human)
{
    if (m_json) {
        json.insert(QStringLiteral("event"), QLatin1String(event));
        json.insert(QStringLiteral("key"), key);
        json.insert(QStringLiteral("line"), m_line);
        json.insert(QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
        if (id != 0) {
            json.insert(QStringLiteral("id"), static_cast<qint64>(id));
        }
    }
    const QString text = m_json ? QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)) : human;
    if (!text.isEmpty()) {
        m_held.push_back({rank, text.endsWith(QLatin1Char('\n')) ? text : text + QLatin1Char('\n')});
    }
    m_effects += rank == Shown ? 0 : 1;
    onReport();
}

void Output::flush()
{
    std::stable_sort(m_held.begin(), m_held.end(), [](auto &a, auto &b) { return a.rank < b.rank; });
    QString text;
    for (const Report &report : m_held) {
        text += report.text;
    }
    m_held.clear();
    if (!text.isEmpty()) {
        print(text);
    }
}
