// SPDX-License-Identifier: MIT
#include "extensioninterface.h"
#include "standins/notifications/include/notification.h"
#include "standins/notifications/notification_p.h"
#include "standins/notifications/notificationconnection.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QLoggingCategory>
#include <QtDBus/QDBusPendingCallWatcher>

Q_DECLARE_LOGGING_CATEGORY(vorn)

/// How long a caller may be held up by a server that does not answer.
static constexpr int patienceMs = 1000;

/// Waits without an event loop of its own, so nothing else happens on this thread meanwhile. The wait is bounded
/// while the call itself is not.
bool NotificationConnection::waitFor(const QDBusPendingCall &call)
{
    QDBusPendingCallWatcher watcher(call);
    watcher.moveToThread(m_bell.thread());
    const QDeadlineTimer deadline(patienceMs);
    while (!call.isFinished() && !deadline.hasExpired()) {
        m_bell.wait(deadline.remainingTime());
    }
    return call.isFinished();
}

/// Has the answer to `call` taken when it comes.
void NotificationConnection::takeLater(const QDBusPendingCall &call,
                                       const std::function<void(const QDBusPendingCall &)> &taken)
{
    ++m_outstanding;
    auto *const watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, taken, conversation = m_conversation] {
        watcher->deleteLater();
        if (conversation == m_conversation) {
            --m_outstanding;
            m_responsive = true;
            taken(*watcher);
        }
    });
}

/// The answer to a `Notify` that nobody waited for, of what went under `id` meanwhile: a stand-in, or the
/// identifier of the version to replace.
void NotificationConnection::takeLate(uint id, const QDBusPendingCall &call)
{
    const bool isStandIn = m_awaited.contains(id);
    const Wish wish = m_awaited.take(id);
    Notification *const notification = m_live.value(id);
    if (notification) {
        if (isStandIn) {
            m_live.remove(id);
            notification->d->id = 0;
        }
        take(notification, call);
    }
    const QDBusPendingReply<uint> reply = call;
    if (wish.close && !reply.isError()) {
        close(reply.value());
    }
    if (wish.publishAgain && notification) {
        publish(notification);
    }
}

void NotificationConnection::take(Notification *notification, const QDBusPendingCall &call)
{
    const QDBusPendingReply<uint> reply = call;
    if (reply.isError()) {
        qCWarning(vorn) << "Notification not shown:" << reply.error().message();
        return;
    }
    servedBy(reply.reply().service());
    const uint id = reply.value();
    forget(notification, notification->d->id);
    notification->d->id = id;
    if (id == 0) {
        qCWarning(vorn) << "The notification server gave no identifier";
        return;
    }
    m_live.insert(id, notification);
}

/// Identifiers mean nothing to a server that did not issue them; they may even be another program's. So they
/// are dropped, and taken back only if the new server confirms them.
void NotificationConnection::servedBy(const QString &owner)
{
    if (owner == m_owner) {
        return;
    }
    m_owner = owner;
    m_capabilities = {};
    m_capabilitiesKnown = false;
    m_responsive = true;
    QHash<uint, QPointer<Notification>> dropped;
    const Live live = forgetIdentifiers();
    for (auto entry = live.cbegin(); entry != live.cend(); ++entry) {
        dropped.insert(entry.key(), entry.value());
    }
    if (dropped.isEmpty()) {
        return;
    }
    auto *const watcher = new QDBusPendingCallWatcher(m_extension->GetNotifications(ownerName()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, dropped] {
        watcher->deleteLater();
        const QDBusPendingReply<DesktopNotificationList> reply = *watcher;
        for (const DesktopNotification &wire : reply.isError() ? DesktopNotificationList() : reply.value()) {
            Notification *const notification = dropped.value(wire.id);
            if (notification && notification->d->id == 0 && !m_live.contains(wire.id)) {
                notification->d->id = wire.id;
                m_live.insert(wire.id, notification);
            }
        }
    });
}

NotificationConnection::Live NotificationConnection::forgetIdentifiers()
{
    Live live;
    live.swap(m_live);
    m_awaited.clear();
    for (Notification *const notification : qAsConst(live)) {
        notification->d->id = 0;
    }
    return live;
}
