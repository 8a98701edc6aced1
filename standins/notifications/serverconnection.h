// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/capabilities.h"
#include "standins/notifications/inbox.h"

#include <QtCore/QTimer>

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
    enum class Event {
        Nothing,
        Found,   ///< the server is known
        Missing, ///< nobody serves, and nobody could be started
        Lost,    ///< the earlier server has lost the name
        Listed,  ///< the server has answered `list()`
        Answer,  ///< to a call that is not a question about the server
        Signal,  ///< of the server
    };

    explicit ServerConnection(Inbox *inbox);
    ~ServerConnection() override;

    /// Talks over `connection` from now on.
    void use(const QDBusConnection &connection);
    /// Whether there is a connection. Without one in use, opens the session bus.
    bool isOpen();
    /// Why there is no connection, or no server.
    QString errorString() const { return m_error.isEmpty() ? m_connection.lastError().message() : m_error; }

    /// Asks who serves, unless that is known or under way. Starts a service if `mayStart` and there is no server.
    void ask(bool mayStart);
    bool isFound() const { return m_step == Step::Found; }
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
    void invoke(const QVariantMap &action, const QString *answer) const;

    /// Takes in an item of the inbox; returns its meaning.
    Event receive(const Inbox::Item &item);

private:
    enum class Step { Unasked, Owner, Start, Capabilities, Information, Found };

    void listen(Inbox::Change change);
    bool isBus() const { return !m_connection.baseService().isEmpty(); }
    void reset();
    quint64 send(const QDBusMessage &call);
    void askCapabilities();
    QDBusMessage call(const QString &method, const QVariantList &arguments = {}) const;
    void sendWithoutAnswer(const QDBusMessage &call) const;
    Event onOwnerChanged(const QDBusMessage &signal);
    Event onAnswer(const QDBusMessage &answer);
    Event onCapabilities(const QDBusMessage &answer);
    Event found();
    void remind();

    Inbox *const m_inbox;
    QDBusConnection m_connection{QString()};
    QString m_error;
    QString m_owner;
    Capabilities m_capabilities;
    Step m_step = Step::Unasked;
    quint64 m_question = 0; ///< the number of the question that is under way; 0 for none
    quint64 m_list = 0;     ///< likewise
    bool m_mayStart = false;
    QTimer m_reminder;
};
