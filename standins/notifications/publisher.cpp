// SPDX-License-Identifier: MIT
#include "standins/notifications/publisher.h"

#include "standins/notifications/foreign.h"
#include "standins/notifications/include/notification.h"
#include "standins/notifications/wire.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtDBus/QDBusArgument>

#include <utility>

Q_DECLARE_LOGGING_CATEGORY(vorn)

namespace
{

constexpr uint expired = 1; ///< reason of closing

} // namespace

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
        act(publication, &Publication::belongsTo, nullptr);
    }
    m_catalogue.clear();
    m_outbox.clear();
    m_server.use(connection);
    m_wait.reset();
    return true;
}

/// Reports an event to the publication and carries out the order that follows. Publications change nowhere else, so:
/// - A publication is in the catalogue from its first event until it is over.
/// - A publication that is ready to be sent is in the outbox, if there is a server.
/// - Nothing is emitted here: the object is told later, by the event loop.
template <typename Report, typename... Arguments>
void Publisher::act(const PublicationPtr &publication, Report report, const Arguments &...arguments)
{
    const uint formerId = publication->id();
    const Order order = ((*publication).*report)(arguments...);
    if (const PublicationPtr loser = m_catalogue.update(publication, formerId)) {
        act(loser, &Publication::identifierLost);
    }
    if (order == Order::Send) {
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
    const PublicationPtr own = notification.publication;
    if (own && own->state() != Publication::State::Gone) {
        return own;
    }
    if (own) {
        act(own, &Publication::belongsTo, nullptr);
    }
    const uint id = std::exchange(notification.id, 0);
    const auto fresh = std::make_shared<Publication>(notification, id);
    notification.publication = id != 0           ? m_catalogue.find(id)
                               : fresh->hasKey() ? m_catalogue.findOrphan(fresh->key())
                                                 : nullptr;
    if (!notification.publication) {
        notification.publication = fresh;
    }
    return notification.publication;
}

void Publisher::publish(Notification *notification)
{
    const PublicationPtr publication = claim(*notification->d);
    act(publication, &Publication::belongsTo, notification);
    act(publication, &Publication::publish, *notification->d);
    if (!m_server.isOpen()) {
        return giveUp(publication, "there is no connection");
    }
    m_server.ask(true);
    sendWaiting();
    waitUntil([&publication] { return !publication->isPending() && !publication->isUnanswered(); });
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
    while (!reached() && m_inbox.await(&item, deadline)) {
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

void Publisher::handle(const Inbox::Item &item)
{
    if (item.call != 0) {
        m_wait.heard(item.afterMs);
    }
    dispatch(m_server.receive(item), item);
    sendWaiting();
}

void Publisher::dispatch(ServerConnection::Event event, const Inbox::Item &item)
{
    const QVariantList arguments = item.message.arguments();
    switch (event) {
    case ServerConnection::Event::Nothing:
        return;
    case ServerConnection::Event::Found:
        return onFound();
    case ServerConnection::Event::Missing:
        return onMissing();
    case ServerConnection::Event::Lost:
        return onLost(arguments.value(1).toString());
    case ServerConnection::Event::Listed:
        return onListed(qdbus_cast<NotificationKeys>(arguments.value(0)));
    case ServerConnection::Event::Answer:
        return onAnswer(item.call, item.message);
    case ServerConnection::Event::Signal:
        return onSignal(item.message);
    }
}

void Publisher::sendWaiting()
{
    while (m_server.isFound() && !s_over) {
        const PublicationPtr publication = m_outbox.next();
        if (!publication) {
            return;
        }
        send(publication);
    }
}

void Publisher::send(const PublicationPtr &publication)
{
    const Capabilities &server = m_server.capabilities();
    const NotificationContent &content = publication->content();
    const QVector<Button> itsButtons = buttons(content.remoteActions, server);
    const DesktopNotification wire = toWire(content, publication->id(), itsButtons, server);
    if (exceedsMessage(wire)) {
        return giveUp(publication, "it is larger than a D-Bus message can be");
    }
    act(publication, &Publication::sent, itsButtons);
    m_outbox.sent(m_server.notify(wire), publication);
}

void Publisher::giveUp(const PublicationPtr &publication, const char *reason)
{
    qCWarning(vorn) << "Gave up a notification:" << reason << m_server.errorString();
    act(publication, &Publication::giveUp);
}

void Publisher::onFound()
{
    m_outbox.clear();
    for (const PublicationPtr &publication : m_catalogue.all()) {
        act(publication, &Publication::serverFound);
    }
}

void Publisher::onMissing()
{
    m_outbox.clear();
    for (const PublicationPtr &publication : m_catalogue.all()) {
        if (publication->isPending()) {
            giveUp(publication, "there is no server");
        }
    }
}

/// `server` may be alive and have lost no more than the name. Its notifications must not appear beside those of the
/// next one.
void Publisher::onLost(const QString &server)
{
    m_wait.trust();
    m_outbox.clear();
    for (const PublicationPtr &publication : m_catalogue.all()) {
        if (publication->id() != 0 && !server.isEmpty()) {
            m_server.closeNotification(publication->id(), server);
        }
        act(publication, &Publication::serverLost);
    }
}

/// Closes notifications that nobody knows, unless the caller of `list()` takes them: an earlier run has left them.
void Publisher::onListed(const NotificationKeys &listed)
{
    for (auto entry = listed.keyBegin(); entry != listed.keyEnd(); ++entry) {
        if (!m_catalogue.find(*entry) && m_leftovers) {
            m_leftovers->append(*entry);
        } else if (!m_catalogue.find(*entry)) {
            m_server.closeNotification(*entry, m_server.owner());
        }
    }
}

void Publisher::onAnswer(quint64 call, const QDBusMessage &answer)
{
    const QVariant value = answer.arguments().value(0);
    const uint id = value.userType() == QMetaType::UInt ? value.toUInt() : 0;
    const PublicationPtr publication = m_outbox.answered(call);
    if (!publication) {
        // Of an earlier server, or too late: nobody else could close that notification.
        if (id != 0 && (answer.service() != m_server.owner() || !m_catalogue.find(id))) {
            m_server.closeNotification(id, answer.service());
        }
        return;
    }
    if (id == 0) {
        qCWarning(vorn) << "Notification not shown, no identifier was given:" << answer.errorMessage();
        return act(publication, &Publication::refused);
    }
    act(publication, &Publication::identified, id);
    if (publication->isTransient() && !m_server.capabilities().isOurs()) {
        QTimer::singleShot(transientLimitMs, this, [this, publication] { act(publication, &Publication::close); });
    }
}

void Publisher::onSignal(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    const PublicationPtr publication = m_catalogue.find(arguments.value(0).toUInt());
    if (!publication || arguments.size() < 2) {
        return;
    }
    const Capabilities &server = m_server.capabilities();
    const QString text = arguments.at(1).toString();
    if (signal.member() == QLatin1String("NotificationClosed")) {
        const uint reason = server.closeReason(arguments.at(1).toUInt());
        // Most other servers take a pop-up off the screen after a while and keep the notification in a list. Nobody has
        // dismissed it then, and it can still be replaced and closed.
        if (!server.isOurs() && reason == expired) {
            act(publication, &Publication::expired);
        } else {
            act(publication, &Publication::closed, reason);
        }
    } else if (server.isOurs() && signal.member() == QLatin1String("ActionInvoked")) {
        tell(publication, text);
    } else if (publication->object() && publication->mayInvoke()) {
        if (const Button *const button = pressed(publication->buttons(), signal.member(), text)) {
            const bool typed = button->key == inlineReplyKey();
            const QString answer = typed ? text : button->answer;
            m_server.invoke(button->action, typed || !answer.isEmpty() ? &answer : nullptr);
            tell(publication, button->action.value(QStringLiteral("name")).toString());
            act(publication, &Publication::invoked);
        }
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
            act(publication, &Publication::belongsTo, nullptr);
        }
    };
    QMetaObject::invokeMethod(this, emitSignal, Qt::QueuedConnection);
}

void Publisher::close(Notification *notification)
{
    if (const PublicationPtr publication = notification->d->publication) {
        act(publication, &Publication::close);
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
        waitUntil([this] { return !m_server.isAsking() && !m_server.isListing(); });
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
    if (publication && publication->object() == notification) {
        act(publication, &Publication::belongsTo, nullptr);
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
