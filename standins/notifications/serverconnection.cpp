// SPDX-License-Identifier: MIT
#include "standins/notifications/serverconnection.h"

#include "standins/notifications/wire.h"

#include <QtCore/QLoggingCategory>

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

bool isError(const QDBusMessage &answer) { return answer.type() == QDBusMessage::ErrorMessage; }

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
    m_error.clear();
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

quint64 ServerConnection::send(const QDBusMessage &call)
{
    qCDebug(vorn) << "Calls" << call;
    return m_inbox->send(m_connection, call);
}

void ServerConnection::ask(bool mayStart)
{
    m_mayStart = !isFound() && (m_mayStart || mayStart);
    if (m_step != Step::Unasked) {
        return;
    }
    if (isBus() && m_owner.isEmpty()) {
        m_step = Step::Owner;
        m_question = send(
            methodCall(busService(), busPath(), busService(), QStringLiteral("GetNameOwner"), {protocol::service()}));
    } else {
        askCapabilities();
    }
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
    const QString callee = isBus() && server.isEmpty() ? protocol::service() : server;
    sendWithoutAnswer(
        methodCall(callee, protocol::objectPath(), protocol::service(), QStringLiteral("CloseNotification"), {id}));
}

void ServerConnection::invoke(const QVariantMap &action, const QString *answer) const
{
    sendWithoutAnswer(remoteActionCall(action, answer, m_connection));
}

ServerConnection::Event ServerConnection::receive(const Inbox::Item &item)
{
    qCDebug(vorn) << "Receives" << item.message;
    if (item.call == 0) {
        const bool byDaemon = item.message.service() == busService(); // anybody can send such signals
        const bool change = item.message.interface() == busService();
        return change && byDaemon                             ? onOwnerChanged(item.message)
               : !change && item.message.service() == m_owner ? Event::Signal
                                                              : Event::Nothing;
    }
    if (item.call == m_list) {
        m_list = 0;
        return m_capabilities.isOurs() ? Event::Listed : Event::Nothing;
    }
    if (item.call == m_question) {
        m_question = 0;
        return onAnswer(item.message);
    }
    // The bus daemon answers nothing but questions, here an earlier one.
    return item.message.service() == busService() ? Event::Nothing : Event::Answer;
}

ServerConnection::Event ServerConnection::onOwnerChanged(const QDBusMessage &signal)
{
    reset();
    m_owner = signal.arguments().value(2).toString();
    if (!m_owner.isEmpty() || m_mayStart) {
        ask(false); // also without a notification: the server may list some that are removed since
    }
    return Event::Lost;
}

/// The steps of asking: who owns the name; if nobody does, whether a service can be started; the capabilities of the
/// owner; of a server of another kind, how it is called.
ServerConnection::Event ServerConnection::onAnswer(const QDBusMessage &answer)
{
    const QVariantList arguments = answer.arguments();
    switch (m_step) {
    case Step::Owner:
        if (!isError(answer)) {
            m_owner = arguments.value(0).toString();
            askCapabilities();
            return Event::Nothing;
        }
        if (m_mayStart && m_connection.isConnected()) {
            m_step = Step::Start;
            m_question = send(methodCall(busService(), busPath(), busService(), QStringLiteral("StartServiceByName"),
                                         {protocol::service(), 0U}));
            return Event::Nothing;
        }
        break;
    case Step::Capabilities:
        if (!isError(answer) || m_connection.isConnected()) {
            return onCapabilities(answer);
        }
        break;
    case Step::Information:
        m_capabilities.setServer(arguments.value(0).toString(), arguments.value(1).toString());
        return found();
    default:
        break; // a service that was started has not taken the name, else this were another question
    }
    m_error = isError(answer) ? answer.errorMessage() : QStringLiteral("The service does not take its name");
    m_mayStart = false;
    reset();
    return Event::Missing;
}

ServerConnection::Event ServerConnection::onCapabilities(const QDBusMessage &answer)
{
    m_reminder.stop();
    const QVariant names = answer.arguments().value(0);
    m_capabilities = names.type() == QVariant::StringList ? Capabilities(names.toStringList()) : Capabilities();
    if (m_capabilities.isOurs()) {
        list(); // servers of another kind may never answer a method that they lack
        return found();
    }
    m_list = 0; // likewise, if it was asked already
    m_step = Step::Information;
    m_question = send(call(QStringLiteral("GetServerInformation")));
    QTimer::singleShot(informationMs, this, [this, question = m_question] {
        if (m_question == question) {
            qCWarning(vorn) << "The notification server does not say its name";
            m_inbox->append({question, {}, informationMs});
        }
    });
    return Event::Nothing;
}

ServerConnection::Event ServerConnection::found()
{
    m_step = Step::Found;
    m_error.clear();
    m_mayStart = false;
    return Event::Found;
}
