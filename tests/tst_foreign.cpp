#include "world.h"

#include <QtCore/QMutex>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>

/// A server that is not ours, at the far end of a peer connection, where calls of the host's methods arrive too.
class ForeignServer : public QDBusVirtualObject
{
public:
    explicit ForeignServer(const QStringList &capabilities)
        : m_capabilities(capabilities)
    {
        connect(&m_listener, &QDBusServer::newConnection, this, [this](const QDBusConnection &peer) {
            QDBusConnection(peer).registerVirtualObject("/", this, QDBusConnection::SubPath);
        });
    }
    QByteArray address() const { return m_listener.address().toUtf8(); }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QMutexLocker lock(&m_mutex);
        if (message.interface() == "com.velmo.lumd") {
            calls.append(message.member() + ' ' + QVariant(message.arguments()).toStringList().join(' '));
        } else if (message.member() == "Notify") {
            notify = message.arguments();
            m_peer = connection.name();
            connection.send(message.createReply(7U));
        } else if (message.member() == "GetCapabilities") {
            connection.send(message.createReply(m_capabilities));
        } else {
            return false;
        }
        return true;
    }
    void signal(const QString &name, uint id, const QString &argument)
    {
        const QMutexLocker lock(&m_mutex);
        const auto message = QDBusMessage::createSignal(protocol::objectPath(), protocol::service(), name);
        QVERIFY(QDBusConnection(m_peer).send(QDBusMessage(message) << id << argument));
    }
    template <typename T> T locked(const T &member)
    {
        const QMutexLocker lock(&m_mutex);
        return member;
    }

    QVariantList notify; ///< its arguments
    QStringList calls;   ///< of the host's methods

private:
    QMutex m_mutex;
    const QStringList m_capabilities;
    QString m_peer;
    QDBusServer m_listener{"unix:tmpdir=/tmp"};
};

class ForeignTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isServedWell_data()
    {
        table({"capability", "body", "reply", "signal", "argument", "call", "told", "value"}, R"(
            inline-reply => a <b> · 25%\nme & you => inline-reply => NotificationReplied => Hi
                => notificationActionInvokeInput k Reply Hi => action k Reply|1 => 25
            body-markup => a &lt;b&gt; · 25%\n<i>me &amp; you</i> => Reply|1 => ActionInvoked => Reply|1
                => notificationActionInvoke k default => action k default => 25
            x-canonical-private-icon-only => a <b> · 25%\nme & you => Reply|1 => ActionInvoked => Mood|2#1
                => notificationActionInvokeInput k Mood Bad => action k Mood|2 => 0
            x-canonical-private-synchronous => a <b>\nme & you => Reply|1 => ActionInvoked => Mute|3
                => notificationActionInvoke k Mute => action k Mute|3 => 25
        )");
    }
    void isServedWell()
    {
        const auto expected = [](const char *column) {
            return *static_cast<QString *>(QTest::qData(column, QMetaType::QString));
        };
        QThread thread;
        thread.start();
        ForeignServer *server = nullptr;
        QObject context;
        context.moveToThread(&thread);
        const auto listen = [&] { server = new ForeignServer({"actions", expected("capability")}); };
        QMetaObject::invokeMethod(&context, listen, Qt::BlockingQueuedConnection);
        connect(&thread, &QThread::finished, server, &QObject::deleteLater);
        {
            World world("[Notifications]\nNotifActionInput=true", server->address());
            world.play(R"("title":"t","text":"a <b>","subText":"me & you","category":"msg","progress":1,"progressMax":4,
                "actions":[{"title":"default"},
                {"title":"Reply","identifier":"1","freeInput":true,"inputLabel":"Message"},
                {"title":"Mood","identifier":"2","choices":["Good","Bad"]},{"title":"Mute","identifier":"3"}])");
            const QVariantList notify = server->locked(server->notify);
            QCOMPARE(notify.value(4).toString().replace('\n', "\\n"), expected("body"));
            QCOMPARE(notify.value(5).toStringList().join(','),
                     QString("default,Open,%1,Reply,Mood|2#0,Good,Mood|2#1,Bad,Mute|3,Mute").arg(expected("reply")));
            const auto hints = qdbus_cast<QVariantMap>(notify.value(6));
            QCOMPARE(hints["value"].toInt(), expected("value").toInt());
            QCOMPARE(hints["category"], "im.received");
            QCOMPARE(hints["x-kde-reply-placeholder-text"] == "Message", expected("reply") == "inline-reply");

            server->signal(expected("signal"), 8, expected("argument")); // another program's
            server->signal("ActionInvoked", 7, "never offered");
            server->signal(expected("signal"), 7, expected("argument"));
            QTRY_COMPARE(world.told, QStringList(expected("told")));
            QTRY_COMPARE(server->locked(server->calls), QStringList(expected("call")));
        }
        thread.quit();
        thread.wait();
    }
};

QTEST_GUILESS_MAIN(ForeignTest)
#include "tst_foreign.moc"
