// SPDX-License-Identifier: MIT
#include "standins/notifications/publications.h"

#include "standins/notifications/foreign.h"
#include "standins/notifications/include/notification.h"
#include "standins/notifications/wire.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QPointer>
#include <QtDBus/QDBusPendingReply>

#include <algorithm>
#include <utility>

Q_LOGGING_CATEGORY(vorn, "vorn.notifications", QtWarningMsg)

namespace
{

/// Calls that may wait for a server that does not answer, before further notifications are given up.
constexpr int maximumUnanswered = 1000;
constexpr uint expired = 1; ///< reason of closing

Publications *thePublications = nullptr;

} // namespace

Publications &Publications::instance()
{
    if (!thePublications) {
        thePublications = new Publications;
        qAddPostRoutine([] { delete std::exchange(thePublications, nullptr); });
    }
    return *thePublications;
}

Publications *Publications::existing() { return thePublications; }

Publications::Publications()
{
    connect(&m_connection, &NotificationConnection::signalled, this, &Publications::onSignal);
    connect(&m_connection, &NotificationConnection::known, this, &Publications::onKnown);
    connect(&m_connection, &NotificationConnection::missing, this, &Publications::onMissing);
    connect(&m_connection, &NotificationConnection::lost, this, &Publications::onLost);
    connect(&m_connection, &NotificationConnection::appeared, this, [this] {
        if (!m_identifiers.unidentified().empty()) {
            m_connection.learn();
        }
    });
}

Publications::~Publications() = default;

bool Publications::use(const QDBusConnection &connection)
{
    if (!connection.isConnected()) {
        return false;
    }
    for (const PublicationPtr &publication : m_identifiers.takeAll()) {
        if (publication->notification) {
            publication->notification->d->publication.reset();
        }
    }
    m_connection.use(connection);
    return true;
}

void Publications::publish(Notification *notification)
{
    const PublicationPtr publication = publicationOf(notification);
    const bool open = m_connection.isOpen();
    const bool known = open && m_connection.knowServer();
    publication->notification = notification;
    const Order order = publication->publish(*notification->d);
    m_identifiers.file(publication, 0);
    if (order != Order::Send) {
        return; // it goes out once the version before is answered
    }
    if (!known) {
        if (!open || !m_connection.isLearning()) {
            publication->takeContent();
            qCWarning(vorn) << "Notification not shown, there is no server:" << m_connection.errorString();
        }
        return; // it goes out once the server is known
    }
    send(publication, true);
}

/// The record of what `notification` replaces, or a new one.
PublicationPtr Publications::publicationOf(Notification *notification)
{
    NotificationPrivate &content = *notification->d;
    if (content.publication && content.publication->state() != State::Gone) {
        return content.publication;
    }
    PublicationPtr publication = m_identifiers.former(content.id, content);
    if (!publication) {
        publication = std::make_shared<Publication>(content);
        if (content.id != 0) {
            publication->identified(content.id);
        }
    }
    content.publication = publication;
    content.id = 0;
    return publication;
}

void Publications::send(const PublicationPtr &publication, bool mayWait)
{
    const uint id = publication->id();
    const DesktopNotification wire = toWire(publication->takeContent(), id, m_connection.capabilities());
    const bool hangs = m_connection.unanswered() >= maximumUnanswered;
    if (hangs || exceedsMessage(wire)) {
        qCWarning(vorn) << "Gave up a notification:" << (hangs ? "the server does not answer" : "it is too large");
        m_identifiers.file(publication, id);
        return;
    }
    const int sending = publication->sent();
    m_connection.notify(wire, mayWait, [this, publication, sending](const QDBusPendingCall &answer) {
        take(publication, sending, answer);
    });
    if (id != 0 && !publication->awaits(sending)) {
        // The answer overtook the signals that came before it; they are in the event loop's queue.
        publication->readAhead(sending);
        QMetaObject::invokeMethod(
            this, [publication, sending] { publication->caughtUp(sending); }, Qt::QueuedConnection);
    }
}

void Publications::take(const PublicationPtr &publication, int sending, const QDBusPendingCall &answer)
{
    if (!publication->awaits(sending)) {
        return;
    }
    const QDBusPendingReply<uint> reply = answer;
    const uint id = reply.isError() ? 0 : reply.value();
    if (m_connection.isFromAnother(answer)) {
        // It was to replace what the server before had. Once the new one is known, it goes out anew.
        m_connection.closeNotification(id);
        m_connection.learn();
        return;
    }
    if (id == 0) {
        qCWarning(vorn) << "Notification not shown:"
                        << (reply.isError() ? reply.error().message()
                                            : QStringLiteral("the server gave no identifier"));
    }
    report(publication, [id](Publication &p) { return id == 0 ? p.refused() : p.identified(id); });
}

void Publications::report(const PublicationPtr &publication, const std::function<Order(Publication &)> &event)
{
    const uint formerId = publication->id();
    const Order order = event(*publication);
    m_identifiers.file(publication, formerId);
    switch (order) {
    case Order::Nothing:
        break;
    case Order::Send:
        if (m_connection.isKnown()) {
            send(publication, false);
        }
        break;
    case Order::Close:
        m_connection.closeNotification(publication->id());
        break;
    case Order::Tell:
        tellClosed(publication);
        break;
    }
}

void Publications::tellClosed(const PublicationPtr &publication)
{
    const QPointer<Notification> notification = publication->notification;
    if (notification) {
        Q_EMIT notification->closed(publication->closeReason());
    }
    if (notification && notification->d->publication == publication) {
        notification->d->publication.reset();
    }
}

void Publications::close(Notification *notification)
{
    const PublicationPtr publication = notification->d->publication;
    if (publication) {
        if (publication->state() != State::Unsent) {
            report(publication, &Publication::close);
            return;
        }
        publication->close();
        m_identifiers.file(publication, 0);
        // Later, as if a server had reported it: whoever asks does not expect to be told before this returns.
        QMetaObject::invokeMethod(
            this, [publication] { tellClosed(publication); }, Qt::QueuedConnection);
    } else if (notification->d->id != 0 && m_connection.isOpen()) {
        m_connection.closeNotification(notification->d->id);
    }
}

QList<Notification *> Publications::held()
{
    QList<Notification *> notifications;
    const auto append = [&notifications](uint id, const PublicationPtr &publication) {
        notifications.append(new Notification);
        notifications.last()->d->id = id;
        notifications.last()->d->publication = publication;
    };
    const std::optional<NotificationKeys> held = m_connection.held();
    const QList<uint> ids = held ? held->keys() : m_identifiers.identified().keys();
    for (const uint id : ids) {
        const PublicationPtr publication = m_identifiers.find(id);
        if (!publication || publication->state() != State::Left) {
            append(id, publication);
        }
    }
    for (const PublicationPtr &publication : m_identifiers.unidentified()) {
        if (publication->isUnanswered() || publication->hasContent()) {
            append(0, publication);
        }
    }
    return notifications;
}

void Publications::forget(Notification *notification)
{
    const PublicationPtr publication = notification->d->publication;
    if (!publication || publication->notification != notification) {
        return;
    }
    publication->notification = nullptr;
    m_identifiers.file(publication, publication->id());
}

void Publications::onKnown(const NotificationKeys &held, bool late)
{
    const Identifiers::Set waiting = m_identifiers.unidentified();
    adopt(waiting, held, late);
    for (const PublicationPtr &publication : waiting) {
        const bool wasShown = publication->formerId() != 0;
        publication->forgetFormerId();
        const Notification *const notification = publication->notification;
        if (publication->state() == State::Unsent && !publication->hasContent() && notification) {
            // The server has lost it, or there was none: again, without the sound that it has made.
            NotificationContent content = static_cast<const NotificationContent &>(*notification->d);
            if (wasShown) {
                content.hints.insert(protocol::hint::suppressSound(), true);
            }
            publication->publish(content);
        }
        if (publication->state() == State::Unsent && publication->hasContent()) {
            send(publication, false);
        } else {
            m_identifiers.file(publication, publication->id());
        }
    }
}

/// Takes what the server remembers for what the server before has shown, if the key agrees too: another's identifiers
/// may be the same. With `late`, nobody else can close what is left over.
void Publications::adopt(const Identifiers::Set &waiting, const NotificationKeys &held, bool late)
{
    QHash<uint, PublicationPtr> former;
    for (const PublicationPtr &publication : waiting) {
        former.insert(publication->formerId(), publication);
    }
    for (auto entry = held.cbegin(); entry != held.cend(); ++entry) {
        const PublicationPtr publication = former.value(entry.key());
        if (publication && publication->key() == entry.value()) {
            report(publication, &Publication::confirmed);
        } else if (late && !m_identifiers.find(entry.key())) {
            m_connection.closeNotification(entry.key());
        }
    }
}

void Publications::onMissing()
{
    const Identifiers::Set waiting = m_identifiers.unidentified();
    for (const PublicationPtr &publication : waiting) {
        if (publication->hasContent()) {
            publication->takeContent();
            m_identifiers.file(publication, 0);
            qCWarning(vorn) << "Notification not shown, there is no server:" << m_connection.errorString();
        }
    }
}

void Publications::onLost()
{
    for (const PublicationPtr &publication : m_identifiers.takeAll()) {
        publication->serverChanged();
        m_identifiers.file(publication, 0);
    }
}

void Publications::onSignal(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    const PublicationPtr publication = m_identifiers.find(arguments.value(0).toUInt());
    if (!publication || arguments.size() < 2) {
        return;
    }
    const ServerCapabilities &server = m_connection.capabilities();
    Notification *const notification = publication->notification;
    if (signal.member() == QLatin1String("NotificationClosed")) {
        const uint reason = arguments.at(1).toUInt();
        // Other servers take a pop-up off the screen after a while and may keep the notification in a list. Nobody has
        // dismissed it, and it can still be replaced and closed.
        if (reason != expired || server.ours || publication->isTransient()) {
            report(publication, [reason](Publication &p) { return p.closed(reason); });
        }
    } else if (notification && server.ours && signal.member() == QLatin1String("ActionInvoked")) {
        Q_EMIT notification->actionInvoked(arguments.at(1).toString());
    } else if (notification && !server.ours) {
        // Does what our server does when the user invokes an action, and other servers know nothing of.
        const std::optional<Invocation> invocation =
            invoked(notification->d->remoteActions, server, signal.member(), arguments.at(1).toString());
        if (invocation) {
            const QDBusConnection &connection = m_connection.connection();
            connection.send(remoteActionCall(invocation->action, invocation->hasAnswer ? &invocation->answer : nullptr,
                                             connection));
            Q_EMIT notification->actionInvoked(invocation->action.value(QStringLiteral("name")).toString());
        }
    }
}
