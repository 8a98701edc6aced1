// SPDX-License-Identifier: MIT
#include "bench/foreignserver.h"

#include "standins/protocol/desktopnotification.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMessage>

bool ForeignServer::serve()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.registerVirtualObject(protocol::objectPath(), this) && bus.registerService(protocol::service());
}

bool ForeignServer::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    QDBusMessage reply = message.createReply();
    const QVariantList arguments = message.arguments();
    if (message.member() == QLatin1String("GetCapabilities")) {
        reply << QStringList{QStringLiteral("actions"), QStringLiteral("body")};
    } else if (message.member() == QLatin1String("GetServerInformation")) {
        reply << QStringLiteral("foreign") << QString() << QStringLiteral("1") << QStringLiteral("1.2");
    } else if (message.member() == QLatin1String("Notify")) {
        const auto hints = qdbus_cast<QVariantMap>(arguments.value(6));
        QString looks = arguments.value(0).toString() + arguments.value(3).toString() + arguments.value(4).toString() +
                        arguments.value(5).toStringList().join(QLatin1Char('\n')) + arguments.value(7).toString();
        for (const QString &hint :
             {protocol::hint::urgency(), protocol::hint::category(), protocol::hint::resident()}) {
            looks += hints.value(hint).toString();
        }
        m_looks = qHash(looks, 0);
        reply << ++m_lastId;
    } else if (message.member() == QLatin1String("CloseNotification")) {
        QDBusMessage signal = QDBusMessage::createSignal(protocol::objectPath(), protocol::service(),
                                                         QStringLiteral("NotificationClosed"));
        signal << arguments.value(0) << uint{protocol::OnRequest};
        connection.send(signal);
    } else {
        return false;
    }
    return connection.send(reply);
}
