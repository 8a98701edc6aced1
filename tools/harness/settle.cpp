// SPDX-License-Identifier: MIT
#include "tools/harness/settle.h"

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QCoreApplication>

bool settle(const QDBusConnection &client, QString *error)
{
    const QDBusMessage question =
        QDBusMessage::createMethodCall(protocol::callee(client, protocol::service()), protocol::objectPath(),
                                       protocol::service(), "GetServerInformation");
    const QDBusMessage answer = client.call(question, QDBus::Block, 5000);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (error) {
        *error = answer.errorMessage();
    }
    return answer.type() == QDBusMessage::ReplyMessage;
}
