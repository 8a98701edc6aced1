// SPDX-License-Identifier: MIT
#include "tools/harness/settle.h"

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QCoreApplication>

QDBusMessage serverInformation(const QDBusConnection &client, int timeoutMs)
{
    const QDBusMessage question =
        QDBusMessage::createMethodCall(protocol::callee(client, protocol::service()), protocol::objectPath(),
                                       protocol::service(), QStringLiteral("GetServerInformation"));
    return client.call(question, QDBus::Block, timeoutMs);
}

bool settle(const QDBusConnection &client, int timeoutMs)
{
    const QDBusMessage answer = serverInformation(client, timeoutMs);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return answer.type() == QDBusMessage::ReplyMessage;
}
