// SPDX-License-Identifier: MIT
#include "bench/client.h"

#include "standins/protocol/remoteaction.h"

#include <QtCore/QDataStream>
#include <QtCore/QDir>
#include <QtCore/QSaveFile>

namespace
{

QString connectionName() { return QStringLiteral("bare"); }
QString address() { return qEnvironmentVariable("LUMD_P2P_DBUS_ADDRESS"); }
QString extension() { return QStringLiteral("com.vorn.Notifications"); }

void writeIcon(const QString &name)
{
    const QByteArray bytes = icon();
    QSaveFile file(QDir::temp().filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        qFatal("Cannot write an icon");
    }
}

} // namespace

QDBusMessage request(const QDBusConnection &connection, const QString &interface, const char *method,
                     const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(protocol::callee(connection, protocol::service()),
                                                          protocol::objectPath(), interface, QLatin1String(method));
    message.setArguments(arguments);
    return message;
}

BareClient::BareClient(const QByteArray &content)
{
    QDataStream stream(QByteArray::fromBase64(content));
    stream >> m_content.appName >> m_content.appIcon >> m_content.summary >> m_content.actions >> m_content.hints >>
        m_content.expireTimeout;
    const QHash<QString, RemoteAction> actions = remoteActions(m_content.hints);
    for (int i = 0; i < m_content.actions.size(); i += 2) {
        m_actions.append(QVariant::fromValue(actions.value(m_content.actions.at(i))));
    }
}

void BareClient::load()
{
    QDBusConnection connection = QDBusConnection::connectToPeer(address(), connectionName());
    for (const char *const signal : {"NotificationClosed", "ActionInvoked"}) {
        connection.connect(QString(), protocol::objectPath(), protocol::service(), QLatin1String(signal), this,
                           SLOT(onSignal()));
    }
    clear();
}

void BareClient::unload()
{
    clear();
    QDBusConnection::disconnectFromPeer(connectionName());
}

void BareClient::show(int index)
{
    const Item &item = m_items[index];
    if (item.icons) {
        writeIcon(QStringLiteral("%1.png").arg(item.number));
        writeIcon(QStringLiteral("%1_large.png").arg(item.number));
    }
    m_content.hints.insert(protocol::hint::remoteActions(), remoteActionsText(m_actions)); // the client library's work
    uint &id = m_ids[item.number];
    const QDBusMessage reply = connection().call(
        request(connection(), protocol::service(), "Notify",
                {m_content.appName, id, m_content.appIcon, m_content.summary, QString::fromLatin1(text(item.version)),
                 m_content.actions, m_content.hints, m_content.expireTimeout}));
    id = reply.arguments().value(0).toUInt();
}

void BareClient::remove(int index)
{
    connection().send(
        request(connection(), protocol::service(), "CloseNotification", {m_ids.take(m_items[index].number)}));
}

void BareClient::clear()
{
    connection().call(
        request(connection(), extension(), "GetNotifications", {m_content.hints.value(protocol::hint::owner())}));
    for (const uint id : qAsConst(m_ids)) {
        connection().send(request(connection(), protocol::service(), "CloseNotification", {id}));
    }
    m_ids.clear();
}

QDBusConnection BareClient::connection() const { return QDBusConnection(connectionName()); }
