// SPDX-License-Identifier: MIT
#include "standins/notifications/publisher.h"

#include "standins/notifications/include/notification.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QPointer>

#include <utility>

Q_DECLARE_LOGGING_CATEGORY(vorn)

Publisher *Publisher::instance()
{
    if (!s_instance && !s_over) {
        s_instance = new Publisher;
        qAddPostRoutine([] {
            s_over = true;
            s_instance->closeAll();
            delete std::exchange(s_instance, nullptr);
        });
    }
    return s_instance;
}

bool Publisher::use(const QDBusConnection &connection)
{
    if (!connection.isConnected()) {
        return false;
    }
    for (const PublicationPtr &publication : m_catalogue.all()) {
        if (Notification *const notification = publication->object()) {
            notification->d->publication.reset();
        }
        act(publication, publication->belongsTo(nullptr));
    }
    m_catalogue.clear();
    m_outbox.clear();
    m_server.use(connection);
    m_wait = BoundedWait();
    return true;
}

/// Carries out the order that follows from an event. Each event is reported in a call of this function, so:
/// - A publication is in the catalogue from its first event until it is over.
/// - A publication that is ready to be sent is in the outbox, if there is a server.
/// - Nothing is emitted here: the object is told later, by the event loop.
void Publisher::act(const PublicationPtr &publication, Publication::Order order)
{
    using Order = Publication::Order;
    if (const PublicationPtr loser = m_catalogue.update(publication)) {
        act(loser, loser->identifierLost());
    }
    if (order == Order::Send && m_server.isFound() && m_server.isOpen()) {
        m_outbox.append(publication);
    }
    if (order == Order::Close || order == Order::CloseAndTell) {
        m_server.closeNotification(publication->id(), m_server.owner());
    }
    if (order == Order::Tell || order == Order::CloseAndTell) {
        tell(publication);
    }
    if (order == Order::Warn) {
        qCWarning(vorn) << "Gave up a notification: the server was lost each time that it was sent";
    }
}

/// The publication of which `notification` is a version, or a new one.
PublicationPtr Publisher::claim(NotificationPrivate &notification)
{
    PublicationPtr own = notification.publication;
    if (own && own->state() != Publication::State::Gone) {
        return own;
    }
    if (own) {
        act(own, own->belongsTo(nullptr));
    }
    const uint id = std::exchange(notification.id, 0);
    notification.publication = m_catalogue.match(std::make_shared<Publication>(notification, id));
    return notification.publication;
}

void Publisher::publish(Notification *notification)
{
    const PublicationPtr publication = claim(*notification->d);
    act(publication, publication->belongsTo(notification));
    act(publication, publication->publish(*notification->d));
    if (!m_server.isOpen()) {
        return giveUp(publication, "there is no connection.", m_server.errorString());
    }
    m_server.ask(true);
    sendWaiting();
    waitUntil([this, &publication] {
        return !publication->isPending() && !publication->isUnanswered() &&
               !(publication->isNeeded() && m_server.isAsking());
    });
}

/// Handles all items, in order, until `reached`; waits for it as long as the server may hold up this thread. The
/// event loop handles the rest.
template <typename Condition> void Publisher::waitUntil(Condition reached)
{
    const qint64 allowedMs = m_wait.begin();
    if (reached() || allowedMs == 0) {
        return;
    }
    const QDeadlineTimer deadline(allowedMs);
    Inbox::Item item;
    while (!reached() && !deadline.hasExpired() && m_inbox.await(&item, deadline)) {
        handle(item);
    }
    m_wait.end(reached());
}

void Publisher::customEvent(QEvent * /*event*/)
{
    Inbox::Item item;
    while (m_inbox.next(&item)) {
        handle(item);
    }
}

/// In a turn of the event loop of its own: slots may do anything, publish, destroy objects and run an event loop.
void Publisher::tell(const PublicationPtr &publication, const std::optional<QString> &action)
{
    const auto emitSignal = [this, publication, action] {
        const QPointer<Notification> notification = publication->object();
        if (!notification || notification->d->publication != publication) {
            return;
        }
        if (action) {
            Q_EMIT notification->actionInvoked(*action);
            return;
        }
        Q_EMIT notification->closed(publication->closeReason());
        if (notification && notification->d->publication == publication) {
            notification->d->publication.reset();
            act(publication, publication->belongsTo(nullptr));
        }
    };
    QMetaObject::invokeMethod(this, emitSignal, Qt::QueuedConnection);
}

void Publisher::close(Notification *notification)
{
    if (const PublicationPtr publication = notification->d->publication) {
        act(publication, publication->close());
    } else if (notification->d->id != 0 && m_server.isOpen()) {
        m_server.closeNotification(notification->d->id, m_server.owner());
    }
}

QList<QObject *> Publisher::list()
{
    QList<uint> leftovers;
    if (m_server.isOpen()) {
        m_server.ask(false);
        if (m_server.isFound() && m_server.capabilities().isOurs()) {
            m_server.list();
        }
        m_leftovers = &leftovers;
        waitUntil([this] { return !m_server.isAsking(); });
        m_leftovers = nullptr;
    }
    QList<QObject *> objects;
    const auto append = [&objects](uint id, const PublicationPtr &publication) {
        auto *const notification = new Notification;
        notification->d->id = id;
        notification->d->publication = publication;
        objects.append(notification);
    };
    for (const PublicationPtr &publication : m_catalogue.all()) {
        if (publication->isLive()) {
            append(publication->id(), publication);
        }
    }
    for (const uint id : qAsConst(leftovers)) {
        append(id, nullptr);
    }
    return objects;
}

void Publisher::forget(Notification *notification)
{
    const PublicationPtr publication = notification->d->publication;
    if (s_instance && publication && publication->object() == notification) {
        s_instance->act(publication, publication->belongsTo(nullptr));
    }
}

/// The program ends: nothing may stay on the desktop that nobody serves any more.
void Publisher::closeAll()
{
    Inbox::Item item;
    while (m_inbox.next(&item)) {
        handle(item);
    }
    for (const PublicationPtr &publication : m_catalogue.all()) {
        if (publication->id() != 0 && publication->isLive()) {
            m_server.closeNotification(publication->id(), m_server.owner());
        }
    }
}
