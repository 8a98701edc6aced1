// SPDX-License-Identifier: MIT
#include "tools/lumdsim/output.h"

#include "standins/protocol/remoteaction.h"
#include "standins/terminal/card.h"
#include "standins/terminal/text.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

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
    const QHash<QString, RemoteAction> remote = remoteActions(notification.hints);
    for (int i = 0; i + 1 < notification.actions.size(); i += 2) {
        const QString &name = notification.actions.at(i);
        const bool input = remote.value(name).takesText;
        array.append(QJsonObject{{"name", name}, {"title", notification.actions.at(i + 1)}, {"input", input}});
    }
    return array;
}

} // namespace

Status say(Status status, const QString &message)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(message));
    return status;
}

void Output::echo(const QString &line) const
{
    if (!m_json) {
        print(printable(line) + '\n');
    }
}

void Output::shown(const DesktopNotification &notification, bool replaced)
{
    const QJsonObject json = {{"id", qint64{notification.id}},
                              {"replaced", replaced},
                              {"appName", notification.appName},
                              {"appIcon", notification.appIcon},
                              {"summary", notification.summary},
                              {"body", notification.body},
                              {"actions", actions(notification)},
                              {"hints", hints(notification)},
                              {"expireTimeout", notification.expireTimeout}};
    report(Shown, "shown", notification.key(), json, m_json ? QString() : renderShown(notification, replaced));
}

void Output::unchanged(const QString &key) { report(Shown, "unchanged", key, {}, "  unchanged, not sent"); }

void Output::skipped(const QString &verb, const QString &key)
{
    report(Shown, "skipped", key, {{"do", verb}}, "  skipped: on the desktop, you are the user");
}

void Output::action(const QString &key, const QString &title, const QString &identifier)
{
    const QString chosen = identifier.isEmpty() ? title : QString("%1 (%2)").arg(title, identifier);
    report(Told, "action", key, {{"title", title}, {"identifier", identifier}},
           printable(QString("← host told: %1 of %2").arg(chosen, key)));
}

void Output::invoked(const QString &method, const QStringList &arguments)
{
    QJsonObject json = {{"method", method}, {"title", arguments.value(1)}};
    if (arguments.size() > 2) {
        json.insert("answer", arguments.at(2));
    }
    report(Told, "invoked", arguments.value(0), json,
           printable(QString("← host called: %1(%2)").arg(method, arguments.join(", "))));
}

void Output::closed(const DesktopNotification &notification, uint reason)
{
    report(Closed, "closed", notification.key(), {{"id", qint64{notification.id}}, {"reason", qint64{reason}}},
           renderClosed(notification, reason));
}

void Output::removed(const QString &key)
{
    report(Removed, "removed", key, {}, printable(QString("← host told: %1 is gone").arg(key)));
}

void Output::report(Rank rank, const char *event, const QString &key, QJsonObject json, const QString &human)
{
    QString text = human;
    if (m_json) {
        json.insert("event", event);
        json.insert("key", key);
        json.insert("line", m_line);
        json.insert("time", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
        text = QJsonDocument(json).toJson(QJsonDocument::Compact);
    }
    m_held.emplace(rank, text);
    m_effects += rank == Shown ? 0 : 1;
    onReport();
}

void Output::flush()
{
    QString text;
    for (const auto &held : m_held) {
        text += held.second + '\n';
    }
    m_held.clear();
    print(text);
}
