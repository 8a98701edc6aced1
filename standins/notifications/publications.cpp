// SPDX-License-Identifier: MIT
#include "standins/notifications/publications.h"

#include "standins/notifications/buttons.h"
#include "standins/notifications/foreign.h"
#include "standins/notifications/include/notification.h"
#include "standins/notifications/wire.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtDBus/QDBusPendingReply>

#include <algorithm>
#include <utility>
#include <vector>

Q_LOGGING_CATEGORY(vorn, "vorn.notifications", QtWarningMsg)

namespace
{

/// Calls that may wait for a server that does not answer, before further notifications are given up.
constexpr size_t maximumUnanswered = 1000;
constexpr uint expired = 1; ///< reason of closing

} // namespace

Publications &Publications::instance()
{
    if (!theOnes) {
        theOnes = new Publications;
        qAddPostRoutine([] { delete std::exchange(theOnes, nullptr); });
    }
    return *theOnes;
}

Publications::Publications()
{
    connect(&m_connection, &NotificationConnection::signalled, this, &Publications::onSignal);
    connect(&m_connection, &NotificationConnection::known, this, &Publications::onKnown);
    connect(&m_connection, &NotificationConnection::missing, this, &Publications::onMissing);
    connect(&m_connection, &NotificationConnection::lost, this, &Publications::onLost);
}

bool Publications::use(const QDBusConnection &connection)
{
    if (!connection.isConnected()) {
        return false;
    }
    for (const PublicationPtr &publication : m_identifiers.takeAll()) {
        publication->serverChanged();
        if (Notification *const notification = std::exchange(publication->notification, nullptr)) {
            notification->d->publication.reset();
        }
    }
    m_connection.use(connection);
    return true;
}

void Publications::publish(Notification *notification)
{
    const PublicationPtr publication = m_identifiers.claim(*notification->d);
    const bool known = m_connection.isOpen() && m_connection.knowServer();
    publication->notification = notification;
    const Order order = publication->publish(*notification->d);
    m_identifiers.file(publication, 0);
    if (order == Order::Send && known) {
        send(publication, true);
    } else if (order == Order::Send &&
               (!m_connection.isLearning() || m_identifiers.unidentified().size() > maximumUnanswered)) {
        giveUp(publication, "there is no server that answers");
    } // else it goes out once the version before is answered, or the server is known
}

void Publications::send(const PublicationPtr &publication, bool mayWait)
{
    const uint id = publication->id();
    const DesktopNotification wire = toWire(publication->takeContent(), id, m_connection.capabilities());
    if (m_connection.unanswered() >= maximumUnanswered) {
        return giveUp(publication, "the server does not answer");
    }
    if (exceedsMessage(wire)) {
        return giveUp(publication, "it is larger than a D-Bus message can be");
    }
    const int sending = publication->sent();
    m_connection.notify(wire, mayWait, [this, publication, sending](const QDBusPendingCall &answer) {
        take(publication, sending, answer);
    });
    if (id != 0 && !publication->awaits(sending)) {
        // The answer overtook the signals that came before it; they are in the event loop's queue.
        publication->readAhead(sending);
        const auto catchUp = [publication, sending] { publication->caughtUp(sending); };
        QMetaObject::invokeMethod(this, catchUp, Qt::QueuedConnection);
    }
}

void Publications::giveUp(const PublicationPtr &publication, const char *reason)
{
    publication->takeContent();
    m_identifiers.file(publication, publication->id());
    qCWarning(vorn) << "Gave up a notification:" << reason << m_connection.errorString();
}

void Publications::take(const PublicationPtr &publication, int sending, const QDBusPendingCall &answer)
{
    const QDBusPendingReply<uint> reply = answer;
    const uint id = reply.isError() ? 0 : reply.value();
    if (!publication->awaits(sending) || m_connection.isGone(answer.reply())) {
        return; // to the next server, what is live goes out anew
    }
    if (id == 0) {
        qCWarning(vorn) << "Notification not shown, no identifier was given:" << reply.error().message();
    }
    report(publication, [id](Publication &p) { return id == 0 ? p.refused() : p.identified(id); });
    if (publication->isTransient() && !m_connection.capabilities().isOurs()) {
        QTimer::singleShot(transientLimitMs, this, [this, publication] { report(publication, &Publication::close); });
    }
}

void Publications::report(const PublicationPtr &publication, const std::function<Order(Publication &)> &event)
{
    const uint formerId = publication->id();
    const Order order = event(*publication);
    m_identifiers.file(publication, formerId);
    if (order == Order::Send && m_connection.isKnown()) {
        send(publication, false);
    } else if (order == Order::Close) {
        m_connection.closeNotification(publication->id());
    } else if (order == Order::Tell) {
        tellClosed(publication);
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
    const uint id = publication ? publication->id() : notification->d->id;
    const Order order = publication ? publication->close() : Order::Close;
    publication ? m_identifiers.file(publication, id) : void();
    if (order != Order::Nothing && id != 0 && m_connection.isOpen()) {
        m_connection.closeNotification(id);
    }
    if (order == Order::Tell) {
        // Later, as if a server had reported it: whoever asks does not expect to be told before this returns.
        const auto tell = [publication] { tellClosed(publication); };
        QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
    }
}

QList<Notification *> Publications::held()
{
    QList<Notification *> notifications;
    for (const auto &[id, publication] : m_identifiers.shown(m_connection.held())) {
        notifications.append(new Notification);
        notifications.last()->d->id = id;
        notifications.last()->d->publication = publication;
    }
    return notifications;
}

void Publications::forget(Notification *notification)
{
    const PublicationPtr publication = notification->d->publication;
    if (publication && publication->notification == notification) {
        publication->notification = nullptr;
        m_identifiers.file(publication, publication->id());
    }
}

void Publications::onKnown(const NotificationKeys &held, bool unseen)
{
    const Identifiers::Set waiting = m_identifiers.unidentified();
    for (const auto &[id, publication] : m_identifiers.remembered(held)) {
        publication->isOutdated() ? publication->publishAgain() : void();
        report(publication, [id = id](Publication &p) { return p.confirmed(id); });
    }
    for (auto entry = held.cbegin(); unseen && entry != held.cend(); ++entry) {
        // Nobody else could close it any more.
        m_identifiers.find(entry.key()) ? void() : m_connection.closeNotification(entry.key());
    }
    for (const PublicationPtr &publication : waiting) {
        publication->state() == State::Unsent ? publication->publishAgain() : void();
        publication->forgetFormerId();
        if (publication->state() == State::Unsent && publication->hasContent()) {
            send(publication, false);
        } else {
            m_identifiers.file(publication, publication->id());
        }
    }
}

void Publications::onMissing()
{
    for (const PublicationPtr &publication : Identifiers::Set(m_identifiers.unidentified())) {
        publication->hasContent() ? giveUp(publication, "there is no server") : void();
    }
}

void Publications::onLost()
{
    std::vector<PublicationPtr> gone;
    for (const PublicationPtr &publication : m_identifiers.takeAll()) {
        publication->serverChanged() == Order::Tell ? gone.push_back(publication) : void();
        m_identifiers.file(publication, 0);
    }
    std::for_each(gone.begin(), gone.end(), tellClosed);
}

void Publications::onSignal(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    const PublicationPtr publication = m_identifiers.find(arguments.value(0).toUInt());
    if (!publication || arguments.size() < 2) {
        return;
    }
    const Capabilities &server = m_connection.capabilities();
    Notification *const notification = publication->notification;
    if (signal.member() == QLatin1String("NotificationClosed")) {
        const uint reason = server.closeReason(arguments.at(1).toUInt());
        // Most other servers take a pop-up off the screen after a while and keep the notification in a list. Nobody has
        // dismissed it then, and it can still be replaced and closed.
        const bool isKept = !server.isOurs() && reason == expired;
        report(publication, [=](Publication &p) { return isKept ? p.expired() : p.closed(reason); });
    } else if (notification && server.isOurs() && signal.member() == QLatin1String("ActionInvoked")) {
        Q_EMIT notification->actionInvoked(arguments.at(1).toString());
    } else if (notification && !server.isOurs() && publication->mayInvoke() &&
               invokeForeign(notification, signal, server, m_connection.connection())) {
        publication->invoked();
    }
}
