// SPDX-License-Identifier: MIT
// The server's side of the publisher: items of the inbox become events of publications, and these are sent.
#include "standins/notifications/publisher.h"

#include "standins/notifications/wire.h"

#include <QtCore/QLoggingCategory>

#include <algorithm>

Q_DECLARE_LOGGING_CATEGORY(vorn)

namespace
{

constexpr size_t window = 100;
constexpr int patienceMs = 60000;
/// Some servers never take a transient notification away, so we do. Others show one at a time, so it gets time to wait
/// for two before it.
constexpr int transientLimitMs = 30000;

} // namespace

void Publisher::handle(const Inbox::Item &item)
{
    if (item.call != 0) {
        m_wait.trust();
    }
    m_server.receive(item);
    sendWaiting();
}

/// Sends the publications that wait, in order, as far as the window allows.
void Publisher::sendWaiting()
{
    const Capabilities &server = m_server.capabilities();
    while (m_server.isFound() && !s_over && !m_waiting.empty() && m_calls.size() < window) {
        const PublicationPtr publication = m_waiting.front();
        m_waiting.pop_front();
        if (!publication->isReady()) {
            continue;
        }
        const NotificationContent &content = publication->content();
        const QVector<Button> itsButtons = buttons(content.remoteActions, server);
        const DesktopNotification wire = toWire(content, publication->id(), itsButtons, server);
        if (exceedsMessage(wire)) {
            giveUp(publication, "it is larger than a D-Bus message can be");
        } else {
            act(publication, publication->sent(itsButtons));
            m_calls[m_server.notify(wire)] = publication;
        }
    }
}

void Publisher::giveUp(const PublicationPtr &publication, const char *reason, const QString &error)
{
    qCWarning(vorn) << "Gave up a notification:" << reason << qUtf8Printable(error);
    act(publication, publication->giveUp());
}

void Publisher::onFound()
{
    for (const auto &[publication, id] : std::map(m_all)) {
        act(publication, publication->serverFound());
    }
}

/// A publication that was on its way to an earlier server waits for the next one.
void Publisher::onMissing(const QString &error)
{
    for (const auto &[publication, id] : std::map(m_all)) {
        if (publication->isPending() && !publication->isLost()) {
            giveUp(publication, "there is no server.", error);
        }
    }
}

/// `server` may be alive and have lost no more than the name. Its notifications must not appear beside those of the
/// next one.
void Publisher::onLost(const QString &server)
{
    m_wait.trust();
    m_waiting.clear();
    m_calls.clear();
    m_patience.stop();
    for (const auto &[publication, id] : std::map(m_all)) {
        if (id != 0 && !server.isEmpty()) {
            m_server.closeNotification(id, server);
        }
        act(publication, publication->serverLost());
        if (publication->isPending()) {
            m_server.ask(true); // its publish may start a service, also once the server has left
        }
    }
}

/// An earlier run has left the notifications that nobody knows. They are closed, unless the caller of `list()` takes
/// them.
void Publisher::onListed(const NotificationKeys &listed)
{
    for (auto entry = listed.begin(); entry != listed.end(); ++entry) {
        if (!m_identified.contains(entry.key())) {
            const auto leftover = std::make_shared<Publication>(entry.value(), entry.key());
            act(leftover, m_listing ? Publication::Order::Nothing : leftover->close());
        }
    }
}

void Publisher::onAnswer(quint64 call, const QDBusMessage &answer)
{
    const QVariant value = answer.arguments().value(0);
    const uint id = value.userType() == QMetaType::UInt ? value.toUInt() : 0;
    const auto known = m_calls.find(call);
    if (known == m_calls.end()) {
        // Of an earlier server, or too late: nobody else could close that notification.
        if (id != 0 && (answer.service() != m_server.owner() || !m_identified.contains(id))) {
            m_server.closeNotification(id, answer.service());
        }
        return;
    }
    const PublicationPtr publication = known->second;
    m_calls.erase(known);
    m_lastAnswered = std::max(m_lastAnswered, call);
    watchCalls();
    if (id == 0) {
        const QString error = answer.errorMessage();
        qCWarning(vorn) << "Notification not shown, no identifier was given:"
                        << (error.isEmpty() ? QStringLiteral("the answer holds none") : error);
        return act(publication, publication->refused());
    }
    act(publication, publication->identified(id));
    if (publication->content().transient && !m_server.capabilities().isOurs()) {
        QTimer::singleShot(transientLimitMs, this, [this, publication] {
            if (publication->content().transient && m_identified.value(publication->id()) == publication) {
                act(publication, publication->close());
            }
        });
    }
}

/// A call that later ones overtake may stay unanswered for ever, and its publication must not wait for it. So it counts
/// as refused one to two minutes after that.
void Publisher::watchCalls()
{
    if (!m_patience.isActive() && !m_calls.empty() && m_calls.begin()->first < m_lastAnswered) {
        m_overtaken = m_lastAnswered;
        m_patience.start(patienceMs);
    }
}

void Publisher::refuseOvertaken()
{
    const quint64 overtaken = m_overtaken;
    while (!m_calls.empty() && m_calls.begin()->first < overtaken) {
        const QString error = QStringLiteral("No answer for a minute");
        onAnswer(m_calls.begin()->first, QDBusMessage::createError(QDBusError::NoReply, error));
    }
    watchCalls();
    sendWaiting();
}

void Publisher::onSignal(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    const PublicationPtr publication = m_identified.value(arguments.value(0).toUInt());
    if (!publication || arguments.size() < 2) {
        return;
    }
    const Capabilities &server = m_server.capabilities();
    const QString text = arguments.at(1).toString();
    if (signal.member() == QLatin1String("NotificationClosed")) {
        const uint reason = server.closeReason(arguments.at(1).toUInt());
        // Most other servers take a pop-up off the screen after a while and keep the notification in a list. Nobody has
        // dismissed it then, and it can still be replaced and closed.
        const bool isExpiry = !server.isOurs() && reason == protocol::Expired;
        act(publication, isExpiry ? publication->expired() : publication->closed(reason));
    } else if (server.isOurs() && signal.member() == QLatin1String("ActionInvoked")) {
        tell(publication, text);
    } else if (const Button *const button = pressed(publication->buttons(), signal.member(), text)) {
        if (publication->object() && publication->invoke()) {
            const bool typed = button->key == inlineReplyKey();
            const QString answer = typed ? text : button->answer;
            m_server.invoke(button->action, typed || !answer.isEmpty() ? &answer : nullptr);
            tell(publication, button->action.name);
        }
    }
}
