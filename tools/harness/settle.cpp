// SPDX-License-Identifier: MIT
#include "tools/harness/settle.h"

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QCoreApplication>
#include <QtCore/QThread>
#include <QtDBus/QDBusMessage>

bool settle(const QDBusConnection &client, QString *error)
{
    const QDBusMessage question =
        QDBusMessage::createMethodCall(protocol::callee(client, protocol::service()), protocol::objectPath(),
                                       protocol::service(), "GetServerInformation");
    const QDBusMessage answer = client.call(question, QDBus::Block, 5000);
    // The client library receives on a thread of its own, and emits signals in the turn after that.
    if (auto *const thread = qApp->property("vorn.notifications.thread").value<QThread *>()) {
        QMetaObject::invokeMethod(
            QAbstractEventDispatcher::instance(thread), [] {}, Qt::BlockingQueuedConnection);
    }
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (error) {
        *error = answer.errorMessage();
    }
    return answer.type() == QDBusMessage::ReplyMessage;
}
