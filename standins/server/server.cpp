// SPDX-License-Identifier: MIT
#include "standins/server/server.h"

#include <QtCore/QTimer>
#include <QtDBus/QDBusServer>

namespace
{

constexpr int transientMs = 4000;

/// Pictures as raw pixels are large, and no terminal shows them.
constexpr const char *pictureHints[] = {"image-data", "image_data", "icon_data"};

bool isTransient(const DesktopNotification &notification)
{
    return notification.hints.value(protocol::hint::transient()).toBool();
}

} // namespace

QStringList Server::GetCapabilities() const
{
    return {QStringLiteral("actions"), QStringLiteral("body"), QStringLiteral("icon-static"),
            QStringLiteral("persistence"), protocol::hint::remoteActions()};
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
    // An identifier that is not in use any more is not given out again, so that nobody takes what is shown now
    // for what was shown under it before.
    const bool replaced = m_entries.contains(replacesId);
    const uint id = replaced ? replacesId : nextId();
    Entry &entry = m_entries[id];
    entry.notification = {id, appName, appIcon, summary, body, actions, plainMap(hints), expireTimeout};
    for (const char *const hint : pictureHints) {
        entry.notification.hints.remove(QLatin1String(hint));
    }
    entry.connection = calledFromDBus() ? QDBusContext::connection().name() : QString();
    armExpiry(id, entry);
    const DesktopNotification shown = entry.notification;
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

void Server::armExpiry(uint id, Entry &entry)
{
    delete std::exchange(entry.expiry, nullptr);
    int timeout = entry.notification.expireTimeout;
    if (timeout <= 0 && isTransient(entry.notification)) {
        timeout = transientMs;
    }
    if (timeout > 0) {
        entry.expiry = new QTimer(this);
        entry.expiry->setSingleShot(true);
        connect(entry.expiry, &QTimer::timeout, this, [this, id] { close(id, Expired); });
        entry.expiry->start(timeout);
    }
}

void Server::CloseNotification(uint id)
{
    if (!m_entries.contains(id)) {
        refuse(QStringLiteral("There is no notification %1").arg(id));
        return;
    }
    close(id, OnRequest);
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
    for (const Entry &entry : m_entries) {
        list.append(entry.notification);
    }
    return list;
}
