// SPDX-License-Identifier: MIT
#include "standins/notifications/serverconnection.h"

#include "standins/notifications/wire.h"

#include <QtCore/QLoggingCategory>
#include <QtDBus/QDBusArgument>

Q_LOGGING_CATEGORY(vorn, "vorn.notifications", QtWarningMsg)

namespace
{

constexpr int firstReminderMs = 1000;
constexpr int lastReminderMs = 3600000;
constexpr int informationMs = 5000;

QString busService() { return QStringLiteral("org.freedesktop.DBus"); }
QString busPath() { return QStringLiteral("/org/freedesktop/DBus"); }

QDBusMessage methodCall(const QString &service, const QString &path, const QString &interface, const QString &method,
                        const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

} // namespace

ServerConnection::ServerConnection(Inbox *inbox)
    : m_inbox(inbox)
{
    registerDesktopNotificationTypes();
    connect(&m_reminder, &QTimer::timeout, this, &ServerConnection::remind);
}

ServerConnection::~ServerConnection() { listen(&QDBusConnection::disconnect); }

void ServerConnection::use(const QDBusConnection &connection)
{
    listen(&QDBusConnection::disconnect);
    m_inbox->clear();
    m_connection = connection;
    m_owner.clear();
    reset();
    listen(&QDBusConnection::connect);
}

void ServerConnection::listen(Inbox::Change change)
{
    m_inbox->listen(change, m_connection, protocol::objectPath(), protocol::service(), QString(), {});
    m_inbox->listen(change, m_connection, busPath(), busService(), QStringLiteral("NameOwnerChanged"),
                    {protocol::service()});
}

/// A connection of our own: until the event loop runs, Qt holds back the signals of the one that it shares, yet not the
/// answers.
bool ServerConnection::isOpen()
{
    if (m_connection.name().isEmpty()) {
        use(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("vorn.notifications")));
    }
    return m_connection.isConnected();
}

void ServerConnection::reset()
{
    m_step = Step::Unasked;
    m_question = 0;
    m_list = 0;
    m_reminder.stop();
}

QDBusMessage ServerConnection::call(const QString &method, const QVariantList &arguments) const
{
    return methodCall(m_owner, protocol::objectPath(), protocol::service(), method, arguments);
}

void ServerConnection::sendWithoutAnswer(const QDBusMessage &call) const
{
    qCDebug(vorn) << "Sends" << call;
    m_connection.call(call, QDBus::NoBlock);
}

quint64 ServerConnection::send(const QDBusMessage &call, int timeoutMs)
{
    qCDebug(vorn) << "Calls" << call;
    return m_inbox->send(m_connection, call, timeoutMs);
}

void ServerConnection::ask(bool mayStart)
{
    m_mayStart = !isFound() && (m_mayStart || mayStart);
    if (m_step != Step::Unasked) {
        return;
    }
    if (isBus() && m_owner.isEmpty()) {
        askBus(Step::Owner, QStringLiteral("GetNameOwner"), {protocol::service()});
    } else {
        askCapabilities();
    }
}

void ServerConnection::askBus(Step step, const QString &method, const QVariantList &arguments)
{
    m_step = step;
    m_question = send(methodCall(busService(), busPath(), busService(), method, arguments));
}

void ServerConnection::askCapabilities()
{
    m_step = Step::Capabilities;
    m_question = send(call(QStringLiteral("GetCapabilities")));
    if (!isBus()) {
        list(); // in one go, since at the other end of a peer connection is the platform's own server
    }
    m_reminder.start(firstReminderMs);
}

/// Some servers do not see calls that came while they were starting until another one comes.
void ServerConnection::remind()
{
    if (m_reminder.interval() == firstReminderMs) {
        qCWarning(vorn) << "The notification server does not answer yet";
    }
    sendWithoutAnswer(call(QStringLiteral("GetServerInformation")));
    m_reminder.setInterval(qMin(2 * m_reminder.interval(), lastReminderMs));
}

void ServerConnection::list()
{
    if (m_list == 0) {
        m_list = send(methodCall(m_owner, protocol::objectPath(), QStringLiteral("com.vorn.Notifications"),
                                 QStringLiteral("GetNotifications"), {ownerName()}));
    }
}

quint64 ServerConnection::notify(const DesktopNotification &notification)
{
    qCDebug(vorn) << "Hints" << notification.hints; // Qt does not print maps within messages
    return send(call(QStringLiteral("Notify"),
                     {notification.appName, notification.id, notification.appIcon, notification.summary,
                      notification.body, notification.actions, notification.hints, notification.expireTimeout}));
}

void ServerConnection::closeNotification(uint id, const QString &server) const
{
    sendWithoutAnswer(
        methodCall(server, protocol::objectPath(), protocol::service(), QStringLiteral("CloseNotification"), {id}));
}

void ServerConnection::invoke(const RemoteAction &action, const QString *answer) const
{
    sendWithoutAnswer(remoteActionCall(action, answer, m_connection));
}

void ServerConnection::receive(const Inbox::Item &item)
{
    const QDBusMessage &message = item.message;
    qCDebug(vorn) << "Receives" << message;
    const bool byBus = message.service() == busService();
    if (item.call == 0) {
        if (byBus) { // anybody can send such a signal
            onOwnerChanged(message);
        } else if (message.service() == m_owner) {
            Q_EMIT signalled(message);
        }
    } else if (item.call == m_list) {
        m_list = 0;
        if (m_capabilities.isOurs()) {
            Q_EMIT listed(qdbus_cast<NotificationKeys>(message.arguments().value(0)));
        }
    } else if (item.call == m_question) {
        m_question = 0;
        onAnswer(message);
    } else if (!byBus) { // the bus answers nothing but questions, here an earlier one
        Q_EMIT answered(item.call, message);
    }
}

void ServerConnection::onOwnerChanged(const QDBusMessage &signal)
{
    reset();
    m_owner = signal.arguments().value(2).toString();
    if (!m_owner.isEmpty() || m_mayStart) {
        ask(false); // also without a notification: the server may list some that are removed since
    }
    Q_EMIT lost(signal.arguments().value(1).toString());
}

/// The steps of asking: who owns the name; if nobody does, whether a service can be started; the capabilities of the
/// owner; of a server of another kind, how it is called.
void ServerConnection::onAnswer(const QDBusMessage &answer)
{
    const QVariantList arguments = answer.arguments();
    const bool isError = answer.type() == QDBusMessage::ErrorMessage;
    if (m_step == Step::Owner && !isError) {
        m_owner = arguments.value(0).toString();
        askCapabilities();
    } else if (m_step == Step::Owner && m_mayStart && m_connection.isConnected()) {
        askBus(Step::Start, QStringLiteral("StartServiceByName"), {protocol::service(), 0U});
    } else if (m_step == Step::Capabilities && (!isError || m_connection.isConnected())) {
        onCapabilities(arguments.value(0));
    } else if (m_step == Step::Information) {
        if (isError) {
            qCWarning(vorn) << "The notification server does not say its name";
        }
        m_capabilities.setServer(arguments.value(0).toString(), arguments.value(1).toString());
        onKnown();
    } else {
        m_mayStart = false;
        reset();
        Q_EMIT missing(isError ? answer.errorMessage() : QStringLiteral("The service does not take its name"));
    }
}

void ServerConnection::onCapabilities(const QVariant &names)
{
    m_reminder.stop();
    m_capabilities = names.type() == QVariant::StringList ? Capabilities(names.toStringList()) : Capabilities();
    if (m_capabilities.isOurs()) {
        list(); // servers of another kind may never answer a method that they lack
        onKnown();
    } else {
        m_list = 0; // likewise, if it was asked already
        m_step = Step::Information;
        m_question = send(call(QStringLiteral("GetServerInformation")), informationMs);
    }
}

void ServerConnection::onKnown()
{
    m_step = Step::Found;
    m_mayStart = false;
    Q_EMIT found();
}
