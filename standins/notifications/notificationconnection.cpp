// SPDX-License-Identifier: MIT
#include "standins/notifications/notificationconnection.h"

#include "standins/notifications/sessionbus.h"
#include "standins/notifications/wire.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QTimer>
#include <QtDBus/QDBusPendingReply>

#include <limits>
#include <utility>

/// How long connecting to the session bus may hold up a thread.
static constexpr std::chrono::milliseconds connectingTime(1000);

static QString busService() { return QStringLiteral("org.freedesktop.DBus"); }

NotificationConnection::NotificationConnection() { registerDesktopNotificationTypes(); }

/// In a connection that was cut, Qt would keep a pointer to this object, and use it.
NotificationConnection::~NotificationConnection() { listen(&QDBusConnection::disconnect); }

void NotificationConnection::use(const QDBusConnection &connection)
{
    listen(&QDBusConnection::disconnect);
    m_connection = connection;
    forgetServer();
    m_watchers = std::make_unique<QObject>();
    m_unanswered = 0;
    m_heldUnseen = false;
    m_wait.reset();
    listen(&QDBusConnection::connect);
}

void NotificationConnection::listen(Listening change)
{
    // Without a sender: Qt would ask the bus daemon who that is, and wait for the answer without a bound.
    (m_connection.*change)(QString(), protocol::objectPath(), protocol::service(), QString(), {}, QString(), this,
                           SLOT(onSignal(QDBusMessage)));
    (m_connection.*change)(QString(), QStringLiteral("/org/freedesktop/DBus"), busService(),
                           QStringLiteral("NameOwnerChanged"), {protocol::service()}, QString(), this,
                           SLOT(onOwnerChanged(QString, QString, QString, QDBusMessage)));
}

bool NotificationConnection::isOpen()
{
    if (m_connection.name().isEmpty()) {
        const bool first = !m_connecting.valid();
        m_connecting = first ? connectToSessionBus() : m_connecting;
        const QDeadlineTimer deadline(first ? connectingTime.count() : 0);
        if (m_connecting.valid() &&
            m_connecting.wait_for(std::chrono::milliseconds(deadline.remainingTime())) == std::future_status::ready) {
            use(QDBusConnection::sessionBus());
            m_wait.reset(connectingTime.count() - deadline.remainingTime());
        }
    }
    return m_connection.isConnected();
}

void NotificationConnection::forgetServer()
{
    m_owner.clear();
    m_known = false;
    m_heldUnseen = true;
    delete std::exchange(m_question, nullptr);
    m_wait.trust();
}

QDBusMessage NotificationConnection::question(const QString &interface, const QString &method,
                                              const QVariantList &arguments) const
{
    // To the very server that is known: to another one, the identifiers mean something else.
    const QString server = isBus() && m_owner.isEmpty() ? protocol::service() : m_owner;
    QDBusMessage message = QDBusMessage::createMethodCall(server, protocol::objectPath(), interface, method);
    message.setArguments(arguments);
    return message;
}

QDBusPendingCall NotificationConnection::send(const QDBusMessage &question) const
{
    // Without a time limit: an answer is worth having even when it comes late.
    return m_connection.asyncCall(question, std::numeric_limits<int>::max());
}

QDBusPendingCallWatcher *NotificationConnection::watch(const QDBusPendingCall &call, const Taken &taken)
{
    QElapsedTimer elapsed;
    elapsed.start();
    auto *const watcher = new QDBusPendingCallWatcher(call, m_watchers.get());
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, taken, elapsed] {
        watcher->disconnect(this);
        watcher->deleteLater();
        m_wait.heard(elapsed.elapsed());
        taken(*watcher);
    });
    return watcher;
}

bool NotificationConnection::knowServer()
{
    learn();
    while (m_question && m_wait.isAnswered(*m_question)) {
        Q_EMIT m_question->finished(m_question);
    }
    return m_known;
}

void NotificationConnection::learn()
{
    if (m_known || m_question) {
        return;
    }
    const QDBusPendingCall capabilities = send(question(protocol::service(), QStringLiteral("GetCapabilities"), {}));
    // In one go with the other question, since at the other end of a peer connection is the platform's own server.
    m_heldQuestion = isBus() ? std::nullopt : std::make_optional(askHeld());
    m_question = watch(capabilities, [this](const QDBusPendingCall &answer) { takeCapabilities(answer); });
    remind(m_question, 1000);
}

/// Some servers do not see what came while they were starting until something else comes.
void NotificationConnection::remind(const QObject *asked, int afterMs)
{
    QTimer::singleShot(afterMs, asked, [this, asked, afterMs] {
        m_connection.call(question(protocol::service(), QStringLiteral("GetServerInformation"), {}), QDBus::NoBlock);
        remind(asked, qMin(2 * afterMs, 3600000)); // every hour in the end
    });
}

QDBusPendingCall NotificationConnection::askHeld() const
{
    return send(question(QStringLiteral("com.vorn.Notifications"), QStringLiteral("GetNotifications"), {ownerName()}));
}

void NotificationConnection::takeCapabilities(const QDBusPendingCall &answer)
{
    const QString sender = answer.reply().service();
    const QDBusPendingReply<QStringList> reply = answer;
    m_question = nullptr;
    m_error = reply.error().message();
    if (reply.isError() && (!m_connection.isConnected() || (isBus() && (sender.isEmpty() || sender == busService())))) {
        Q_EMIT missing();
        return;
    }
    m_owner = sender;
    m_capabilities = reply.isError() ? Capabilities() : Capabilities(reply.value());
    if (m_capabilities.isOurs()) { // some others do not even refuse what they do not know
        m_question = watch(m_heldQuestion ? *m_heldQuestion : askHeld(),
                           [this](const QDBusPendingCall &held) { takeHeld(held); });
        return;
    }
    m_question = watch(send(question(protocol::service(), QStringLiteral("GetServerInformation"), {})),
                       [this](const QDBusPendingCall &information) {
                           m_question = nullptr;
                           m_known = true;
                           const QVariantList words = information.reply().arguments();
                           m_capabilities.setServer(words.value(0).toString(), words.value(1).toString());
                           Q_EMIT known({}, false);
                       });
}

void NotificationConnection::takeHeld(const QDBusPendingCall &answer)
{
    const QDBusPendingReply<NotificationKeys> reply = answer;
    m_question = nullptr;
    m_known = true;
    const bool unseen = std::exchange(m_heldUnseen, false) && !m_caller;
    if (m_caller && !reply.isError()) {
        *m_caller = reply.value();
    }
    Q_EMIT known(reply.value(), unseen);
}

std::optional<NotificationKeys> NotificationConnection::held()
{
    std::optional<NotificationKeys> held;
    if (isOpen()) {
        if (m_known && m_capabilities.isOurs() && !m_question) {
            m_question = watch(askHeld(), [this](const QDBusPendingCall &answer) { takeHeld(answer); });
        }
        m_caller = &held;
        knowServer();
        m_caller = nullptr;
        m_heldUnseen = !held && m_question;
    }
    return held;
}

void NotificationConnection::notify(const DesktopNotification &notification, bool mayWait, const Taken &taken)
{
    const QDBusPendingCall call =
        send(question(protocol::service(), QStringLiteral("Notify"),
                      {notification.appName, notification.id, notification.appIcon, notification.summary,
                       notification.body, notification.actions, notification.hints, notification.expireTimeout}));
    if (mayWait && m_wait.isAnswered(call)) {
        taken(call);
        return;
    }
    ++m_unanswered;
    QDBusPendingCallWatcher *const watcher = watch(call, [this, taken](const QDBusPendingCall &answer) {
        --m_unanswered;
        taken(answer);
    });
    if (call.isFinished()) { // just now, and Qt does not tell a second watcher
        Q_EMIT watcher->finished(watcher);
    }
}

bool NotificationConnection::isGone(const QDBusMessage &answer)
{
    static const QStringList errors = {QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"),
                                       QStringLiteral("org.freedesktop.DBus.Error.NoReply"),
                                       QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown")};
    const bool gone = answer.service() == busService() && errors.contains(answer.errorName());
    if (gone) {
        forgetServer();
        Q_EMIT lost();
    }
    return gone;
}

/// The server is told not to answer: nobody would look at it, and one that hangs would leave it outstanding for good.
void NotificationConnection::closeNotification(uint id)
{
    m_connection.call(question(protocol::service(), QStringLiteral("CloseNotification"), {id}), QDBus::NoBlock);
}

void NotificationConnection::onSignal(const QDBusMessage &signal)
{
    if (signal.service() == m_owner) {
        Q_EMIT signalled(signal);
    }
}

void NotificationConnection::onOwnerChanged(const QString & /*name*/, const QString &before, const QString &after,
                                            const QDBusMessage &signal)
{
    if (signal.service() != busService()) {
        return; // anybody can send such signals
    }
    if (!m_owner.isEmpty() && before == m_owner) {
        forgetServer();
        Q_EMIT lost();
    }
    if (!after.isEmpty() && after != m_owner) {
        learn(); // it may remember what is shown, or what has been removed since
    }
}
