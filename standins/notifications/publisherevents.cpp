// SPDX-License-Identifier: MIT
// The server's side of the publisher: items of the inbox become events of publications, and these are sent.
#include "standins/notifications/publisher.h"

#include "standins/notifications/wire.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QTimer>
#include <QtDBus/QDBusArgument>

Q_DECLARE_LOGGING_CATEGORY(vorn)

namespace
{

/// Some servers never take a transient notification away, so we do. Others show one at a time, so it gets time to wait
/// for two before it.
constexpr int transientLimitMs = 30000;

} // namespace

void Publisher::handle(const Inbox::Item &item)
{
    if (item.call != 0) {
        m_wait.heard(item.afterMs);
    }
    const ServerConnection::Event event = m_server.receive(item);
    const QVariantList arguments = item.message.arguments();
    switch (event) {
    case ServerConnection::Event::Nothing:
        break;
    case ServerConnection::Event::Found:
        onFound();
        break;
    case ServerConnection::Event::Missing:
        onMissing();
        break;
    case ServerConnection::Event::Lost:
        onLost(arguments.value(1).toString());
        break;
    case ServerConnection::Event::Listed:
        onListed(qdbus_cast<NotificationKeys>(arguments.value(0)));
        break;
    case ServerConnection::Event::Answer:
        onAnswer(item.call, item.message);
        break;
    case ServerConnection::Event::Signal:
        onSignal(item.message);
        break;
    }
    sendWaiting();
}

/// Sends the publications that wait, in order, as far as the window of the outbox allows.
void Publisher::sendWaiting()
{
    const Capabilities &server = m_server.capabilities();
    while (const PublicationPtr publication = m_server.isFound() && !s_over ? m_outbox.next() : nullptr) {
        const NotificationContent &content = publication->content();
        const QVector<Button> itsButtons = buttons(content.remoteActions, server);
        const DesktopNotification wire = toWire(content, publication->id(), itsButtons, server);
        if (exceedsMessage(wire)) {
            giveUp(publication, "it is larger than a D-Bus message can be");
        } else {
            act(publication, publication->sent(itsButtons));
            m_outbox.sent(m_server.notify(wire), publication);
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
    m_outbox.clear();
    for (const PublicationPtr &publication : m_catalogue.all()) {
        act(publication, publication->serverFound());
    }
}

void Publisher::onMissing()
{
    m_outbox.clear();
    for (const PublicationPtr &publication : m_catalogue.all()) {
        if (publication->isPending()) {
            giveUp(publication, "there is no server.", m_server.errorString());
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
        act(publication, publication->serverLost());
        if (publication->isNeeded()) {
            m_server.ask(true); // its publish may start a service, also once the server has left
        }
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
        const QString error = answer.errorMessage();
        qCWarning(vorn) << "Notification not shown, no identifier was given:"
                        << (error.isEmpty() ? QStringLiteral("the answer holds none") : error);
        return act(publication, publication->refused());
    }
    act(publication, publication->identified(id));
    if (publication->isTransient() && !m_server.capabilities().isOurs()) {
        QTimer::singleShot(transientLimitMs, this, [this, publication] {
            if (publication->isTransient() && m_catalogue.find(publication->id()) == publication) {
                act(publication, publication->close());
            }
        });
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
        if (!server.isOurs() && reason == protocol::Expired) {
            act(publication, publication->expired());
        } else {
            act(publication, publication->closed(reason));
        }
    } else if (server.isOurs() && signal.member() == QLatin1String("ActionInvoked")) {
        tell(publication, text);
    } else if (publication->object() && publication->mayInvoke()) {
        if (const Button *const button = pressed(publication->buttons(), signal.member(), text)) {
            const bool typed = button->key == inlineReplyKey();
            const QString answer = typed ? text : button->answer;
            m_server.invoke(button->action, typed || !answer.isEmpty() ? &answer : nullptr);
            tell(publication, button->action.value(QStringLiteral("name")).toString());
            act(publication, publication->invoked());
        }
    }
}
