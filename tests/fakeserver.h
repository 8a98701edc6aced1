// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QThread>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>

#include <atomic>
#include <functional>
#include <memory>

/// A notification server that answers as a test says, on a thread of its own: at the far end of a peer connection, or
/// on a bus. It can be made to pay no attention to calls for a while.
class FakeServer : public QDBusVirtualObject
{
public:
    explicit FakeServer(const QStringList &capabilities, const QString &bus = {})
        : m_capabilities(capabilities)
    {
        registerDesktopNotificationTypes();
        moveToThread(&m_thread);
        m_thread.start();
        run([this, bus] {
            if (bus.isEmpty()) {
                listen();
            } else {
                attach(QDBusConnection::connectToBus(bus, QString("server %1").arg(quintptr(this))));
            }
        });
    }
    ~FakeServer() override
    {
        run([this] {
            m_listener.reset();
            QDBusConnection::disconnectFromBus(m_peer.name());
            m_peer = QDBusConnection("");
        });
        m_thread.quit();
        m_thread.wait();
    }
    QString address() const { return m_listener->address(); }

    /// On a bus: takes the name from its owner, or leaves it.
    void takeName()
    {
        run([this] {
            using Interface = QDBusConnectionInterface;
            m_peer.interface()->registerService(protocol::service(), Interface::ReplaceExistingService,
                                                Interface::AllowReplacement);
        });
    }
    void leaveName()
    {
        run([this] { m_peer.unregisterService(protocol::service()); });
    }

    /// Calls wait from now on.
    void hold() { m_holding = true; }
    void handleOne()
    {
        run([this] {
            if (!m_waiting.isEmpty()) {
                handle(m_waiting.takeFirst());
            }
        });
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
    /// Shows a notification and answers with its identifier.
    uint show(const QDBusMessage &notify)
    {
        const QVariantList a = notify.arguments();
        const uint replaced = a[1].toUInt();
        const uint id = replaced != 0 && (keepsIds || shown.contains(replaced)) ? replaced : ++m_lastId;
        shown[id] = {
            id,          {}, {}, a[3].toString(), a[4].toString(), a[5].toStringList(), qdbus_cast<QVariantMap>(a[6]),
            a[7].toInt()};
        m_peer.send(notify.createReply(id));
        return id;
    }
    void answer(const QDBusMessage &answer) { m_peer.send(answer); }
    /// Handles `Notify`; without a handler, `show` does.
    void onNotify(const std::function<void(const QDBusMessage &)> &handler)
    {
        run([&] { m_onNotify = handler; });
    }
    void run(const std::function<void()> &work)
    {
        const bool here = QThread::currentThread() == &m_thread;
        const auto visibly = [&] {
            work();
            m_ran = true; // ThreadSanitizer does not see how Qt orders threads
        };
        QMetaObject::invokeMethod(this, visibly, here ? Qt::DirectConnection : Qt::BlockingQueuedConnection);
        static_cast<void>(m_ran.load());
    }

    std::atomic<bool> keepsIds = false; ///< gives a closed identifier to an update again
    QMap<uint, DesktopNotification> shown;
    QStringList calls; ///< of methods, but for those that merely ask; of identifiers to close, these too
    // Set these on the server's thread.
    QString ignores;            ///< the method of which one call is never answered
    bool dismissesNext = false; ///< the user dismisses the next notification at once

    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection & /*connection*/) override
    {
        const bool asksNothing = call.member() == "GetServerInformation"; // but tells whether all has arrived
        if (m_holding && !asksNothing) {
            m_waiting.append(call);
        } else {
            handle(call);
        }
        if (asksNothing && !call.isReplyRequired()) {
            release(); // reminded
        }
        return true;
    }

private:
    void listen()
    {
        m_listener = std::make_unique<QDBusServer>("unix:tmpdir=/tmp");
        connect(m_listener.get(), &QDBusServer::newConnection, this,
                [this](const QDBusConnection &peer) { attach(peer); });
    }
    void attach(const QDBusConnection &connection)
    {
        m_peer = connection;
        m_peer.registerVirtualObject("/", this, QDBusConnection::SubPath);
        if (!m_peer.baseService().isEmpty()) {
            takeName();
        }
    }
    void handle(const QDBusMessage &call)
    {
        const uint id = call.arguments().value(0).toUInt();
        if (call.member() == ignores) {
            ignores.clear();
        } else if (call.member() == "Notify") {
            calls << "Notify";
            if (m_onNotify) {
                m_onNotify(call);
            } else if (const uint shows = show(call); std::exchange(dismissesNext, false)) {
                close(shows);
            }
        } else if (call.member() == "CloseNotification") {
            calls << QString("Close %1").arg(id);
            if (shown.contains(id)) {
                close(id, 3);
            }
        } else if (call.interface() == "com.velmo.lumd") {
            calls << call.member() + ' ' + QVariant(call.arguments()).toStringList().join(' ');
        } else if (call.member() == "GetNotifications" && !m_capabilities.contains("x-vorn-remote-actions")) {
            calls << "GetNotifications"; // which it never answers
        } else if (call.member() == "GetNotifications") {
            NotificationKeys keys;
            for (const DesktopNotification &one : qAsConst(shown)) {
                const QString key = one.hints["x-vorn-origin-key"].toString();
                if (one.hints["x-vorn-owner"] == call.arguments()[0]) {
                    keys.insert(one.id, key);
                }
            }
            answer(call.createReply(QVariant::fromValue(keys)));
        } else {
            const bool asksCapabilities = call.member() == "GetCapabilities";
            answer(asksCapabilities ? call.createReply(m_capabilities) : call.createReply());
        }
    }

    const QStringList m_capabilities;
    std::function<void(const QDBusMessage &)> m_onNotify;
    QThread m_thread;
    std::unique_ptr<QDBusServer> m_listener;
    QDBusConnection m_peer{""};
    QList<QDBusMessage> m_waiting;
    std::atomic<bool> m_holding = false, m_ran = false;
    uint m_lastId = 0;
};
