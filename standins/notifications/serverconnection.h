// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/capabilities.h"
#include "standins/notifications/inbox.h"
#include "standins/protocol/remoteaction.h"

#include <QtCore/QTimer>

#include <limits>

/// The notification server at the other end of a bus or a peer connection: asks who serves and how, sends, and gives
/// each item of the inbox its meaning.
///
/// - On a bus, the owner of the name is the server. Its unique name comes from the bus daemon alone, and calls go
///   there: to another program, the identifiers mean something else.
/// - Each change of the owner starts the questions again, also while they are under way. An answer counts only if it is
///   to the question asked last.
/// - Only a publish starts a service; afterwards the bus daemon tells when a server comes.
class ServerConnection : public QObject
{
    Q_OBJECT

public:
    explicit ServerConnection(Inbox *inbox);
    ~ServerConnection() override;

    /// Talks over `connection` from now on.
    void use(const QDBusConnection &connection);
    /// Whether there is a connection. Without one in use, opens the session bus.
    bool isOpen();
    QString connectionError() const { return m_connection.lastError().message(); }

    /// Asks who serves, unless that is known or under way. Starts a service if `mayStart` and there is no server.
    void ask(bool mayStart);
    bool isFound() const { return m_step == Step::Found; }
    /// Whether the server is known, or may become so.
    bool isExpected() const { return m_step != Step::Unasked; }
    const Capabilities &capabilities() const { return m_capabilities; }
    /// The server's unique name; empty on a peer connection, and while there is none.
    const QString &owner() const { return m_owner; }
    /// Asks which notifications the server has for this program, unless that is under way.
    void list();
    /// Whether it is asking who serves, or for that list.
    bool isAsking() const { return m_question != 0 || m_list != 0; }

    /// Sends a notification; returns the number of the call.
    quint64 notify(const DesktopNotification &notification);
    /// Closes a notification of the server with this unique name, the present one or an earlier one. Asks for no
    /// answer: a server that hangs would owe it for good.
    void closeNotification(uint id, const QString &server) const;
    /// Calls the method that goes with an action, see `remoteActionCall`.
    void invoke(const RemoteAction &action, const QString *answer) const;

    /// Takes in an item of the inbox, and emits the signal that tells its meaning.
    void receive(const Inbox::Item &item);

Q_SIGNALS:
    /// The server is known.
    void found();
    /// Nobody serves, and nobody could or was to be started.
    void missing(const QString &error);
    /// The server with this unique name has lost the name.
    void lost(const QString &server);
    void listed(const NotificationKeys &keys);
    /// To a call that is not the question asked last.
    void answered(quint64 call, const QDBusMessage &answer);
    void signalled(const QDBusMessage &signal);

private:
    enum class Step { Unasked, Owner, Start, Capabilities, Information, Found };

    void listen(Inbox::Change change);
    bool isBus() const { return !m_connection.baseService().isEmpty(); }
    void reset();
    /// Without a time limit: a late answer is worth having, too.
    quint64 send(const QDBusMessage &call, int timeoutMs = std::numeric_limits<int>::max());
    void sendWithoutAnswer(const QDBusMessage &call) const;
    QDBusMessage call(const QString &method, const QVariantList &arguments = {}) const;
    void askBus(Step step, const QString &method, const QVariantList &arguments);
    void askCapabilities();
    void remind();
    void onOwnerChanged(const QDBusMessage &signal);
    void onAnswer(const QDBusMessage &answer);
    void onCapabilities(const QVariant &names);
    void onKnown();

    Inbox *const m_inbox;
    QDBusConnection m_connection{QString()};
    QString m_owner;
    Capabilities m_capabilities;
    Step m_step = Step::Unasked;
    quint64 m_question = 0; ///< the number of the question that is under way; 0 for none
    quint64 m_list = 0;     ///< likewise
    bool m_mayStart = false;
    QTimer m_reminder;
};
