// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/boundedwait.h"
#include "standins/notifications/capabilities.h"
#include "standins/protocol/desktopnotification.h"

#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>

#include <functional>
#include <future>
#include <memory>
#include <optional>

/// The conversation with the notification server, on a bus or a peer connection: sends, receives and waits.
class NotificationConnection : public QObject
{
    Q_OBJECT

public:
    using Taken = std::function<void(const QDBusPendingCall &answer)>;

    NotificationConnection();
    ~NotificationConnection() override;

    /// Talks over `connection` from now on; what is under way is given up.
    void use(const QDBusConnection &connection);
    /// Whether there is a connection. Without one in use, takes the session bus's.
    bool isOpen();
    const QDBusConnection &connection() const { return m_connection; }
    /// Why there is no connection, or no server.
    QString errorString() const { return m_error.isEmpty() ? m_connection.lastError().message() : m_error; }

    /// Whether it is known who serves, what it can do and, if it tells, what it holds. If not, asks, and waits for a
    /// bounded time; later, `known()` tells.
    bool knowServer();
    /// The same, without waiting.
    void learn();
    bool isKnown() const { return m_known; }
    bool isLearning() const { return m_question != nullptr; }
    const Capabilities &capabilities() const { return m_capabilities; }
    /// Asks what the server holds for this program, and waits for a bounded time; null when it does not tell by then.
    std::optional<NotificationKeys> held();

    /// Sends a notification. `taken` gets the answer: before this returns if it comes within the time that is left for
    /// waiting and `mayWait`, else when the event loop comes to it.
    void notify(const DesktopNotification &notification, bool mayWait, const Taken &taken);
    /// Notifications whose answers have not come.
    size_t unanswered() const { return m_unanswered; }
    /// Whether `answer` is the bus daemon's, because the server went away without one. If so, it is `lost()`.
    bool isGone(const QDBusMessage &answer);
    void closeNotification(uint id);

Q_SIGNALS:
    /// The server is known. `held` is what it holds, if it tells; nobody else looks at that if `unseen`.
    void known(const NotificationKeys &held, bool unseen);
    /// There is no server to ask.
    void missing();
    /// The server is gone, and its identifiers with it.
    void lost();
    /// A signal of the server.
    void signalled(const QDBusMessage &signal);

private Q_SLOTS:
    void onSignal(const QDBusMessage &signal);
    void onOwnerChanged(const QString &name, const QString &before, const QString &after, const QDBusMessage &signal);

private:
    using Listening = bool (QDBusConnection::*)(const QString &, const QString &, const QString &, const QString &,
                                                const QStringList &, const QString &, QObject *, const char *);
    void listen(Listening change);
    bool isBus() const { return !m_connection.baseService().isEmpty(); }
    void forgetServer();
    QDBusMessage question(const QString &interface, const QString &method, const QVariantList &arguments) const;
    QDBusPendingCall send(const QDBusMessage &question) const;
    QDBusPendingCall askHeld() const;
    void remind(const QObject *asked, int afterMs);
    QDBusPendingCallWatcher *watch(const QDBusPendingCall &call, const Taken &taken);
    void takeCapabilities(const QDBusPendingCall &answer);
    void takeHeld(const QDBusPendingCall &answer);

    QDBusConnection m_connection{QString()};
    std::shared_future<void> m_connecting; ///< to the session bus
    QString m_error;
    QString m_owner; ///< the server's unique name on a bus; empty while unknown
    Capabilities m_capabilities;
    bool m_known = false;
    std::unique_ptr<QObject> m_watchers;                 ///< owns them
    QDBusPendingCallWatcher *m_question = nullptr;       ///< about the server, while it is not known
    std::optional<QDBusPendingCall> m_heldQuestion;      ///< if that has been asked already
    std::optional<NotificationKeys> *m_caller = nullptr; ///< waits for what the server holds
    bool m_heldUnseen = false; ///< who asked has waited in vain, or nobody asked, after a change of servers
    size_t m_unanswered = 0;
    BoundedWait m_wait;
};
