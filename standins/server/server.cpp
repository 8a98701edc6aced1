// SPDX-License-Identifier: MIT
#include "standins/server/server.h"

#include "controladaptor.h"
#include "extensionadaptor.h"
#include "notificationsadaptor.h"

#include <QtCore/QDataStream>
#include <QtCore/QTimer>

#include <utility>

namespace hint = protocol::hint;

namespace
{

constexpr int transientMs = 4000;
/// Half of what fits into a D-Bus array.
constexpr int maximumListSize = 32 * 1024 * 1024;

/// About as many bytes as it takes on the wire.
int wireSize(const DesktopNotification &notification)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << notification.appName << notification.appIcon << notification.summary << notification.body
           << notification.actions << plainMap(notification.hints);
    return bytes.size();
}

bool hasAction(const DesktopNotification &notification, const QString &action)
{
    for (int i = 0; i < notification.actions.size(); i += 2) {
        if (notification.actions.at(i) == action) {
            return true;
        }
    }
    return false;
}

/// Why an action that takes `input` cannot be invoked with `answer`; empty when it can. Null stands for no
/// input, and for no answer.
QString objection(const QVariantMap &action, const QString *answer)
{
    if (!action.contains(QStringLiteral("input"))) {
        return answer ? QStringLiteral("The action takes no text") : QString();
    }
    if (!answer) {
        return QStringLiteral("The action takes text from the user: use Reply");
    }
    const QVariantMap input = action.value(QStringLiteral("input")).toMap();
    const QStringList choices = input.value(QStringLiteral("choices")).toStringList();
    if (!input.value(QStringLiteral("freeInput")).toBool() && !choices.contains(*answer)) {
        return QStringLiteral("The answer must be one of: ") + choices.join(QStringLiteral(", "));
    }
    return {};
}

} // namespace

Server::Server(QObject *parent)
    : Endpoint(parent)
{
    registerDesktopNotificationTypes();
    new NotificationsAdaptor(this);
    new ExtensionAdaptor(this);
    new ControlAdaptor(this);
}

QStringList Server::GetCapabilities() const
{
    return {QStringLiteral("actions"), QStringLiteral("body"), QStringLiteral("persistence"),
            protocol::hint::remoteActions()};
}

QString Server::GetServerInformation(QString &vendor, QString &version, QString &specVersion) const
{
    vendor = QStringLiteral("kavrel");
    version = QStringLiteral(KAVREL_VERSION);
    specVersion = QStringLiteral("1.2");
    return QStringLiteral("kavrel-notification-server");
}

uint Server::Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                    const QString &body, const QStringList &actions, const QVariantMap &hints, int expireTimeout)
{
    const bool replaced = m_entries.contains(replacesId);
    const uint id = replacesId != 0 ? replacesId : nextId();
    Entry &entry = m_entries[id];
    entry.notification = {id, appName, appIcon, summary, body, actions, hints, expireTimeout};
    entry.connection = calledFromDBus() ? QDBusContext::connection().name() : QString();
    armExpiry(entry);
    const DesktopNotification shown = entry.notification; // what is called now may close it
    Q_EMIT Shown(shown, replaced);
    return id;
}

uint Server::nextId()
{
    do {
        ++m_lastId;
    } while (m_lastId == 0 || m_entries.contains(m_lastId));
    return m_lastId;
}

void Server::armExpiry(Entry &entry)
{
    delete std::exchange(entry.expiry, nullptr);
    int timeout = entry.notification.expireTimeout;
    if (timeout < 0 && entry.notification.hints.value(hint::transient()).toBool()) {
        timeout = transientMs;
    }
    if (timeout > 0) {
        entry.expiry = new QTimer(this);
        entry.expiry->setSingleShot(true);
        connect(entry.expiry, &QTimer::timeout, this, [this, id = entry.notification.id] { close(id, Expired); });
        entry.expiry->start(timeout);
    }
}

void Server::CloseNotification(uint id)
{
    if (find(id)) {
        close(id, OnRequest);
    }
}

void Server::close(uint id, CloseReason reason)
{
    const Entry entry = m_entries.take(id);
    if (entry.expiry) {
        entry.expiry->deleteLater(); // it may be what called
    }
    Q_EMIT NotificationClosed(id, reason);
    Q_EMIT Closed(id, reason);
}

NotificationKeys Server::GetNotifications(const QString &owner) const
{
    NotificationKeys keys;
    for (const Entry &entry : m_entries) {
        const QVariantMap &hints = entry.notification.hints;
        if (!owner.isEmpty() && hints.value(protocol::hint::owner()).toString() == owner) {
            keys.insert(entry.notification.id, hints.value(protocol::hint::originKey()).toString());
        }
    }
    return keys;
}

DesktopNotificationList Server::List() const
{
    DesktopNotificationList list;
    int size = 0;
    for (const Entry &entry : m_entries) {
        size += wireSize(entry.notification);
        if (size > maximumListSize) {
            refuse(QStringLiteral("More is held than a D-Bus message can be"), QDBusError::LimitsExceeded);
            return {};
        }
        list.append(entry.notification);
    }
    return list;
}

void Server::refuse(const QString &message, QDBusError::ErrorType type) const
{
    if (calledFromDBus()) {
        sendErrorReply(type, message);
    }
}

const Server::Entry *Server::find(uint id) const
{
    const auto entry = m_entries.find(id);
    if (entry == m_entries.end()) {
        refuse(QStringLiteral("There is no notification %1").arg(id));
        return nullptr;
    }
    return &*entry;
}

void Server::Invoke(uint id, const QString &action) { invoke(id, action, nullptr); }

void Server::Reply(uint id, const QString &action, const QString &text) { invoke(id, action, &text); }

void Server::invoke(uint id, const QString &action, const QString *answer)
{
    const Entry *const entry = find(id);
    if (!entry) {
        return;
    }
    if (!hasAction(entry->notification, action)) {
        refuse(QStringLiteral("Notification %1 has no action \"%2\"").arg(id).arg(action));
        return;
    }
    const QVariantMap remote = remoteAction(plainMap(entry->notification.hints), action);
    const QString problem = objection(remote, answer);
    if (!problem.isEmpty()) {
        refuse(problem);
        return;
    }
    const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN"); // given to this process, and good for one use
    if (!token.isEmpty()) {
        qunsetenv("XDG_ACTIVATION_TOKEN");
        Q_EMIT ActivationToken(id, QString::fromUtf8(token));
    }
    const bool resident = entry->notification.hints.value(hint::resident()).toBool();
    const QDBusConnection publisher(entry->connection);
    Q_EMIT ActionInvoked(id, action);
    if (!remote.isEmpty() && publisher.isConnected()) {
        publisher.send(remoteActionCall(remote, answer, publisher));
    }
    if (!resident) {
        close(id, Dismissed);
    }
}

void Server::Dismiss(uint id)
{
    const Entry *const entry = find(id);
    if (entry && !entry->notification.hints.value(hint::userRemovable(), true).toBool()) {
        refuse(QStringLiteral("Notification %1 can't be dismissed").arg(id));
    } else if (entry) {
        close(id, Dismissed);
    }
}
