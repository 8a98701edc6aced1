// SPDX-License-Identifier: MIT
#include "tests/oddserver.h"
#include "tests/world.h"

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
        QFETCH(QString, capability);
        QFETCH(QString, signal);
        QFETCH(QString, argument);
        QVariantList notify; // its arguments
        QString calls;
        QDBusConnection plugin("");
        OddServer server([&](const QDBusMessage &call, QDBusConnection &peer) {
            if (call.interface() == "com.velmo.lumd") {
                calls += call.member() + ' ' + QVariant(call.arguments()).toStringList().join(' ');
            } else if (call.member() == "Notify") {
                notify = call.arguments();
                plugin = peer;
                peer.send(call.createReply(7U));
            } else {
                peer.send(call.createReply(QStringList{"actions", capability}));
            }
        });
        const auto send = [&](const QString &name, uint id, const QString &text) {
            const auto message = QDBusMessage::createSignal(protocol::objectPath(), protocol::service(), name);
            server.run([&] { plugin.send(QDBusMessage(message) << id << text); });
        };
        World world("[Notifications]\nNotifActionInput=true", server.address());
        world.play(R"("title":"t","text":"a <b>","subText":"me & you","category":"msg","progress":1,"progressMax":4,
            "actions":[{"title":"default"},{"title":"Reply","identifier":"1","freeInput":true,"inputLabel":"Message"},
            {"title":"Mood","identifier":"2","choices":["Good","Bad"]},{"title":"Mute","identifier":"3"}])");
        QTEST(notify.value(4).toString().replace('\n', "\\n"), "body");
        QFETCH(QString, reply);
        QCOMPARE(notify.value(5).toStringList().join(','),
                 QString("default,Open,%1,Reply,Mood|2#0,Good,Mood|2#1,Bad,Mute|3,Mute").arg(reply));
        const auto hints = qdbus_cast<QVariantMap>(notify.value(6));
        QTEST(QString::number(hints["value"].toInt()), "value");
        QCOMPARE(hints["category"], "im.received");
        QCOMPARE(hints["x-kde-reply-placeholder-text"] == "Message", reply == "inline-reply");

        send(signal, 8, argument); // another program's
        send("ActionInvoked", 7, "never offered");
        send(signal, 7, argument);
        QTRY_COMPARE(world.told.size(), 1);
        QTEST(world.told[0], "told");
        world.settle(); // the call has arrived
        QTEST(calls, "call");
    }
};

QTEST_GUILESS_MAIN(ForeignTest)
#include "tst_foreign.moc"
