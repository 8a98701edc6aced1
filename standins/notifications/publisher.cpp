// SPDX-License-Identifier: MIT
#include "standins/notifications/publisher.h"

#include "standins/notifications/include/notification.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QPointer>

#include <utility>

Q_DECLARE_LOGGING_CATEGORY(vorn)

Publisher::Publisher()
{
    connect(&m_server, &ServerConnection::found, this, &Publisher::onFound);
    connect(&m_server, &ServerConnection::missing, this, &Publisher::onMissing);
    connect(&m_server, &ServerConnection::lost, this, &Publisher::onLost);
    connect(&m_server, &ServerConnection::listed, this, &Publisher::onListed);
    connect(&m_server, &ServerConnection::answered, this, &Publisher::onAnswer);
    connect(&m_server, &ServerConnection::signalled, this, &Publisher::onSignal);
    connect(&m_patience, &QTimer::timeout, this, &Publisher::refuseOvertaken);
    m_patience.setSingleShot(true);
}

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
    closeAll();
    m_server.use(connection);
    onLost({});
    m_server.ask(false);
    m_wait = BoundedWait();
    return true;
}

/// Carries out the order that follows from an event. Each event with one is reported in a call of this function, so:
/// - A publication is filed from its first event until it is over.
/// - A publication that is ready to be sent waits for that, if there is a server.
/// - Nothing is emitted here: the object is told later, by the event loop.
void Publisher::act(const PublicationPtr &publication, Publication::Order order)
{
    using Order = Publication::Order;
    file(publication);
    if (order == Order::Send && m_server.isFound() && m_server.isOpen()) {
        m_waiting.push_back(publication);
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

/// Files a publication after an event, or drops it if it is over. An identifier belongs to the publication that the
/// server gave it to last.
void Publisher::file(const PublicationPtr &publication)
{
    const bool over = publication->isOver();
    const uint id = over || publication->state() == Publication::State::Gone ? 0 : publication->id();
    const uint formerId = std::exchange(m_all[publication], id);
    if (formerId != id && m_identified.value(formerId) == publication) {
        m_identified.remove(formerId);
    }
    if (over) {
        m_all.erase(publication);
        return;
    }
    const PublicationPtr other = id != 0 ? std::exchange(m_identified[id], publication) : publication;
    if (other && other != publication) {
        act(other, other->identifierLost());
    }
}

/// The publication of which a notification is a new version: by its identifier, or without one by its key, if that
/// publication has no identifier and its object is gone. Null if there is none.
PublicationPtr Publisher::find(uint id, const QVariant &key) const
{
    if (id != 0 || !key.isValid() || m_all.size() == static_cast<size_t>(m_identified.size())) { // as nearly always
        return m_identified.value(id);
    }
    for (const auto &[any, filedId] : m_all) {
        const bool isOrphan = any->id() == 0 && !any->object() && any->state() != Publication::State::Closing;
        if (isOrphan && any->key() == key) {
            return any;
        }
    }
    return nullptr;
}

/// The publication of which `notification` is a version, or a new one.
PublicationPtr Publisher::claim(Notification *notification)
{
    PublicationPtr &own = notification->d->publication;
    if (own && own->state() == Publication::State::Gone) {
        forget(notification);
        own.reset();
    }
    if (!own) {
        const uint id = std::exchange(notification->d->id, 0);
        const QVariant key = notification->d->hints.value(protocol::hint::originKey());
        const PublicationPtr known = find(id, key);
        own = known ? known : std::make_shared<Publication>(key, id);
    }
    return own;
}

void Publisher::publish(Notification *notification)
{
    const PublicationPtr publication = claim(notification);
    act(publication, publication->publish(notification, *notification->d));
    if (!m_server.isOpen()) {
        return giveUp(publication, "there is no connection.", m_server.connectionError());
    }
    m_server.ask(true);
    sendWaiting();
    waitUntil([this, &publication] {
        return !publication->isUnanswered() && !(publication->isPending() && m_server.isExpected());
    });
}

/// Handles all items, in order, until `reached`; waits for it as long as the server may hold up this thread. The
/// event loop handles the rest.
template <typename Condition> void Publisher::waitUntil(Condition reached)
{
    const QDeadlineTimer deadline(m_wait.begin());
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
        if (!notification) {
            return;
        }
        if (action) {
            Q_EMIT notification->actionInvoked(*action);
            return;
        }
        Q_EMIT notification->closed(publication->closeReason());
        if (notification && notification->d->publication == publication) {
            notification->d->publication.reset();
            act(publication, publication->orphaned());
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
    if (m_server.isOpen()) {
        m_server.ask(false);
        if (m_server.isFound() && m_server.capabilities().isOurs()) {
            m_server.list();
        }
        m_listing = true;
        waitUntil([this] { return !m_server.isAsking(); });
        m_listing = false;
    }
    QList<QObject *> objects;
    for (const auto &[publication, id] : m_all) {
        if (publication->isLive()) {
            auto *const notification = new Notification;
            notification->d->publication = publication;
            objects.append(notification);
        }
    }
    return objects;
}

void Publisher::forget(Notification *notification)
{
    const PublicationPtr publication = notification->d->publication;
    if (s_instance && publication && publication->object() == notification) {
        s_instance->act(publication, publication->orphaned());
    }
}

/// Nothing may stay on a desktop that nobody serves any more: the program ends, or goes to another one.
void Publisher::closeAll()
{
    customEvent(nullptr);
    for (const auto &[publication, id] : m_all) {
        if (id != 0 && publication->isLive()) {
            m_server.closeNotification(id, m_server.owner());
        }
    }
}
