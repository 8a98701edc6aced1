// SPDX-License-Identifier: MIT
#include "standins/server/server.h"

#include "extensionadaptor.h"
#include "notificationsadaptor.h"
#include "standins/protocol/remoteaction.h"

#include <QtCore/QTimer>

#include <utility>

namespace hint = protocol::hint;

namespace
{

/// Half of what fits into a D-Bus array.
constexpr int maximumListSize = 32 * 1024 * 1024;

bool fail(QString *error, const QString &message)
{
    if (error) {
        *error = message;
    }
    return false;
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

/// The reason why the action cannot be invoked with `answer`, null for none; empty when it can.
QString objection(const RemoteAction &action, const QString *answer)
{
    if (!action.takesText) {
        return answer ? QStringLiteral("The action takes no text") : QString();
    }
    if (!answer) {
        return QStringLiteral("The action takes text from the user: reply to it");
    }
    if (!action.freeInput && !action.choices.contains(*answer)) {
        return QStringLiteral("The answer must be one of: ") + action.choices.join(QStringLiteral(", "));
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
    return QStringLiteral("kavrel");
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
    const DesktopNotification notification = entry.notification; // a receiver of the signal may close it
    Q_EMIT shown(notification, replaced);
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
        timeout = protocol::transientMs;
    }
    if (timeout > 0) {
        entry.expiry = new QTimer(this);
        entry.expiry->setSingleShot(true);
        connect(entry.expiry, &QTimer::timeout, this,
                [this, id = entry.notification.id] { close(id, protocol::Expired); });
        entry.expiry->start(timeout);
    }
}

void Server::CloseNotification(uint id)
{
    QString error;
    if (find(id, &error)) {
        close(id, protocol::OnRequest);
    } else if (calledFromDBus()) {
        sendErrorReply(QDBusError::InvalidArgs, error);
    }
}

void Server::close(uint id, protocol::CloseReason reason)
{
    const Entry entry = m_entries.take(id);
    if (entry.expiry) {
        entry.expiry->deleteLater(); // it may have called this
    }
    Q_EMIT NotificationClosed(id, reason);
}

NotificationKeys Server::GetNotifications(const QString &owner) const
{
    NotificationKeys keys;
    int size = 0;
    for (const Entry &entry : m_entries) {
        const QVariantMap &hints = entry.notification.hints;
        if (!owner.isEmpty() && hints.value(protocol::hint::owner()).toString() == owner) {
            const QString key = entry.notification.key();
            size += 2 * key.size();
            keys.insert(entry.notification.id, key);
        }
    }
    if (size > maximumListSize && calledFromDBus()) {
        sendErrorReply(QDBusError::LimitsExceeded, QStringLiteral("More is held than a D-Bus message can be"));
        return {};
    }
    return keys;
}

QList<DesktopNotification> Server::notifications() const
{
    QList<DesktopNotification> list;
    for (const Entry &entry : m_entries) {
        list.append(entry.notification);
    }
    return list;
}

const Server::Entry *Server::find(uint id, QString *error) const
{
    const auto entry = m_entries.find(id);
    if (entry == m_entries.end()) {
        fail(error, QStringLiteral("There is no notification %1").arg(id));
        return nullptr;
    }
    return &*entry;
}

bool Server::invoke(uint id, const QString &name, QString *error, const QString *answer)
{
    const Entry *const entry = find(id, error);
    if (!entry) {
        return false;
    }
    if (!hasAction(entry->notification, name)) {
        return fail(error, QStringLiteral("Notification %1 has no action \"%2\"").arg(id).arg(name));
    }
    const RemoteAction remote = remoteActions(entry->notification.hints).value(name);
    const QString problem = objection(remote, answer);
    if (!problem.isEmpty()) {
        return fail(error, problem);
    }
    const bool resident = entry->notification.hints.value(hint::resident()).toBool();
    const QDBusConnection publisher(entry->connection);
    Q_EMIT ActionInvoked(id, name);
    if (!remote.name.isEmpty() && publisher.isConnected()) {
        publisher.send(remoteActionCall(remote, answer, publisher));
    }
    if (!resident) {
        close(id, protocol::Dismissed);
    }
    return true;
}

bool Server::dismiss(uint id, QString *error)
{
    const Entry *const entry = find(id, error);
    if (!entry) {
        return false;
    }
    if (!entry->notification.hints.value(hint::userRemovable(), true).toBool()) {
        return fail(
            error,
            QStringLiteral("The notification with the key \"%1\" can't be dismissed").arg(entry->notification.key()));
    }
    close(id, protocol::Dismissed);
    return true;
}
