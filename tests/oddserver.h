// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>

#include <functional>
#include <memory>

/// A server that is not ours, at the far end of a peer connection and on a thread of its own, which answers a call as
/// it likes.
class OddServer : public QDBusVirtualObject
{
public:
    using Answer = std::function<void(const QDBusMessage &call, QDBusConnection &peer)>;
    explicit OddServer(Answer answer)
        : m_answer(std::move(answer))
    {
        moveToThread(&m_thread);
        m_thread.start();
        run([this] {
            m_listener = std::make_unique<QDBusServer>("unix:tmpdir=/tmp");
            connect(m_listener.get(), &QDBusServer::newConnection, this,
                    [this](QDBusConnection peer) { peer.registerVirtualObject("/", this, QDBusConnection::SubPath); });
        });
    }
    ~OddServer() override
    {
        run([this] { m_listener.reset(); });
        m_thread.quit();
        m_thread.wait();
    }
    QByteArray address() const { return m_listener->address().toUtf8(); }
    /// Does `work` on the server's thread.
    void run(const std::function<void()> &work) { QMetaObject::invokeMethod(this, work, Qt::BlockingQueuedConnection); }

    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        QDBusConnection peer(connection);
        m_answer(message, peer);
        return true;
    }

private:
    const Answer m_answer;
    QThread m_thread;
    std::unique_ptr<QDBusServer> m_listener;
};
