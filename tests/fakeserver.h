// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QThread>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>

#include <atomic>
#include <functional>
#include <memory>

/// A notification server that answers what and when a test says, on a thread of its own: at the far end of a peer
/// connection, or on a bus. It can be made to pay no attention to calls for a while.
class FakeServer : public QDBusVirtualObject
{
public:
    explicit FakeServer(const QStringList &capabilities, const QString &bus = {},
                        const QMap<uint, DesktopNotification> &remembered = {})
        : shown(remembered)
        , m_capabilities(capabilities)
    {
        registerDesktopNotificationTypes();
        moveToThread(&m_thread);
        m_thread.start();
        run([this, bus] { bus.isEmpty() ? listen() : serve(bus); });
    }
    ~FakeServer() override
    {
        leave();
        m_thread.quit();
        m_thread.wait();
    }
    /// Handles nothing any more; returns what is shown.
    QMap<uint, DesktopNotification> leave()
    {
        QMap<uint, DesktopNotification> last;
        run([&] {
            m_waiting.clear();
            m_listener.reset();
            m_peer.baseService().isEmpty() || m_peer.unregisterService(protocol::service());
            QDBusConnection::disconnectFromBus(m_peer.name());
            m_peer = QDBusConnection("");
            last.swap(shown);
        });
        return last;
    }
    QString address() const { return m_listener->address(); }

    /// Calls wait from now on.
    void hold() { m_holding = true; }
    void handleOne()
    {
        run([this] { m_waiting.isEmpty() ? void() : handle(m_waiting.takeFirst()); });
    }
    /// Handles all that waits, the first ones first, or the last.
    void release(bool lastFirst = false)
    {
        run([=] {
            m_holding = false;
            while (!m_waiting.isEmpty()) {
                handle(lastFirst ? m_waiting.takeLast() : m_waiting.takeFirst());
            }
        });
    }
    /// The user makes a notification go away, or the server does.
    void close(uint id, uint reason = 2)
    {
        run([=] {
            shown.remove(id);
            signal("NotificationClosed", {id, reason});
        });
    }
    void signal(const QString &name, const QVariantList &arguments)
    {
        QDBusMessage message = QDBusMessage::createSignal(protocol::objectPath(), protocol::service(), name);
        message.setArguments(arguments);
        run([&] { m_peer.send(message); });
    }
    void run(const std::function<void()> &work)
    {
        const bool here = QThread::currentThread() == &m_thread;
        const auto visibly = [&] { work(), m_ran = true; }; // ThreadSanitizer does not see how Qt orders threads
        QMetaObject::invokeMethod(this, visibly, here ? Qt::DirectConnection : Qt::BlockingQueuedConnection);
        static_cast<void>(m_ran.load());
    }

    std::atomic<bool> keepsIds = false; ///< gives a closed identifier to an update again
    std::atomic<QDBusMessage (*)(const QDBusMessage &notify)> answer = nullptr; ///< instead of showing anything
    QMap<uint, DesktopNotification> shown;
    QStringList calls; ///< of methods, but for those that merely ask; of identifiers to close, these too

    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection & /*connection*/) override
    {
        const bool asksNothing = call.member() == "GetServerInformation"; // but tells whether all has arrived
        const bool waits = m_holding && !asksNothing;
        !m_peer.isConnected() ? void() : waits ? m_waiting.append(call) : handle(call);
        asksNothing && !call.isReplyRequired() ? release() : void(); // reminded
        return true;
    }

private:
    void listen()
    {
        m_listener = std::make_unique<QDBusServer>("unix:tmpdir=/tmp");
        connect(m_listener.get(), &QDBusServer::newConnection, this,
                [this](const QDBusConnection &peer) { attach(peer); });
    }
    void serve(const QString &bus)
    {
        attach(QDBusConnection::connectToBus(bus, bus + QString::number(++buses)));
        m_peer.registerService(protocol::service());
    }
    void attach(const QDBusConnection &connection)
    {
        m_peer = connection;
        m_peer.registerVirtualObject("/", this, QDBusConnection::SubPath);
    }
    void handle(const QDBusMessage &call)
    {
        const QVariantList arguments = call.arguments();
        QDBusMessage reply = call.createReply();
        if (call.member() == "GetCapabilities") {
            reply << m_capabilities;
        } else if (call.member() == "GetNotifications") {
            NotificationKeys keys;
            for (const DesktopNotification &notification : qAsConst(shown)) {
                const QString key = notification.hints["x-vorn-origin-key"].toString();
                notification.hints["x-vorn-owner"] == arguments[0] ? void(keys.insert(notification.id, key)) : void();
            }
            reply << QVariant::fromValue(keys);
        } else if (call.member() == "Notify") {
            calls << "Notify";
            const auto answering = answer.load();
            reply = answering ? answering(call) : call.createReply(show(arguments));
        } else if (call.member() == "CloseNotification") {
            calls << QString("Close %1").arg(arguments[0].toUInt());
            shown.contains(arguments[0].toUInt()) ? close(arguments[0].toUInt(), 3) : void();
        } else if (call.interface() == "com.velmo.lumd") {
            calls << call.member() + ' ' + QVariant(arguments).toStringList().join(' ');
        }
        m_peer.send(reply);
    }
    uint show(const QVariantList &a)
    {
        const uint replaced = a[1].toUInt();
        const uint id = replaced != 0 && (keepsIds || shown.contains(replaced)) ? replaced : ++m_lastId;
        DesktopNotification &one = shown[id];
        one.id = id;
        one.summary = a[3].toString();
        one.body = a[4].toString();
        one.actions = a[5].toStringList();
        one.hints = qdbus_cast<QVariantMap>(a[6]);
        return id;
    }

    inline static int buses = 0;
    const QStringList m_capabilities;
    QThread m_thread;
    std::unique_ptr<QDBusServer> m_listener;
    QDBusConnection m_peer{""};
    QList<QDBusMessage> m_waiting;
    std::atomic<bool> m_holding = false, m_ran = false;
    uint m_lastId = shown.isEmpty() ? 0 : shown.lastKey();
};
