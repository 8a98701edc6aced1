// SPDX-License-Identifier: MIT
#include "tests/world.h"

/// What the host's notifications and messages look like when they reach the desktop, first and again.
class TranslationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void property_data()
    {
        table({"line", "properties"}, R"(
            "key":"k" => appName=; summary=; body=; appIcon=; actions=; expireTimeout=-1; x-vorn-origin-key=k
            "key":"k" => x-vorn-origin-package=; x-vorn-color=auto; urgency=uchar 0; x-vorn-priority=int 0
            "key":"k" => x-vorn-display-on=bool true; x-vorn-user-removable=bool false; !category; !x-vorn-feedback
            "key":"k" => !suppress-sound; !x-vorn-vibrate; !x-vorn-led-argb; !resident; !transient; !value; !image-path
            "key":"k" => !x-vorn-item-count; !x-vorn-timestamp; !x-vorn-remote-actions; !x-vorn-progress
            "key":"a|b","package":"p","appName":"Chat" => appName=Chat; x-vorn-origin-key=a|b; x-vorn-origin-package=p
            "title":"Ada","text":"✓\nHi","subText":"To" => summary=Ada; body=✓\nHi; x-vorn-sub-text=To
            "importance":-1,"category":"MSG" => x-vorn-priority=int -25; urgency=uchar 1; category=MSG; !x-vorn-feedback
            "importance":1,"category":"msg " => x-vorn-priority=int 25; urgency=uchar 0; category=msg ; !x-vorn-feedback
            "importance":2,"category":"event" => x-vorn-priority=int 50; urgency=uchar 1; category=calendar
            "importance":3,"category":"email" => x-vorn-priority=int 75; urgency=uchar 1; category=email
            "importance":4,"category":"alarm" => x-vorn-priority=int 100; urgency=uchar 2; category=clock
            "importance":5,"category":"msg" => x-vorn-priority=int 125; urgency=uchar 2; category=chat
            "importance":6,"category":"alarm" => x-vorn-priority=int 150; urgency=uchar 1; x-vorn-feedback=clock
            "importance":5,"lowUrgency":true,"category":"event" => urgency=uchar 0; x-vorn-feedback=calendar
            "importance":4,"lowUrgency":true,"category":"email" => urgency=uchar 0; x-vorn-feedback=email,email_exists
            "importance":2147483647,"category":"msg" => x-vorn-priority=int 2147483623; x-vorn-feedback=chat,chat_exists
            "color":128,"ledColor":4278255360 => x-vorn-color=#000080; x-vorn-led-argb=int -16711936
            "color":4280391411,"timestamp":4294967297 => x-vorn-color=#ff2196f3; x-vorn-timestamp=qlonglong 4294967297
            "color":-16711936,"itemCount":-3 => x-vorn-color=#ff00ff00; !x-vorn-item-count
            "color":4294967296,"itemCount":4294967299 => x-vorn-color=auto; x-vorn-item-count=int 3
            "vibrate":true => x-vorn-vibrate=bool true; x-vorn-display-on=bool true; !suppress-sound
            "silent":true => suppress-sound=bool true; !x-vorn-vibrate; !x-vorn-display-on
            "silent":true,"vibrate":true
                => suppress-sound=bool true; x-vorn-vibrate=bool true; x-vorn-display-on=bool true
            "progressMax":4,"progress":1 => value=int 25; x-vorn-progress=double 0.25
            "progressMax":2,"progress":3 => value=int 100; x-vorn-progress=double 1.5
            "progressMax":2,"progress":-1 => x-vorn-progress=double -0.5
            "progressMax":0,"progress":1 => !value; !x-vorn-progress
            "progressMax":100,"progress":40,"indeterminate":true => x-vorn-progress=int -1; !value
            "ongoing":true,"clearable":true => resident=bool true; !x-vorn-user-removable
            "actions":[] => actions=; !x-vorn-remote-actions
            "actions":[{"title":"R","freeInput":true},{"title":"A","choices":["Y"]},{"title":"G","identifier":"4"}]
                => actions=G|4,G
            "do":"publish","text":"T","warning":true => summary=T; appIcon=icon-lock-warning; urgency=uchar 2; body=
            "do":"publish" => summary=; appIcon=icon-s-android; urgency=uchar 1; transient=bool true; appName=
            "do":"installResult","headline":"h","detail":"d" => x-vorn-preview-summary=h: d; transient=bool true
            "do":"installResult","headline":"h","message":"m" => x-vorn-preview-summary=h; !x-vorn-preview-body
            "do":"installResult","message":"m","code":-3 => x-vorn-preview-body=m; !x-vorn-preview-summary
            "do":"installResult","appName":"X","code":1 => appName=X; appIcon=icon-s-android; image-path=icon-s-android
            "do":"uninstallResult","detail":"d" => x-vorn-preview-summary=: d; !x-vorn-origin-key; !transient
            "do":"uninstallResult","message":"m","code":4294967296 => x-vorn-preview-body=m; !x-vorn-preview-summary
        )");
    }
    void property()
    {
        QFETCH(QString, line);
        QFETCH(QString, properties);
        World world;
        world.play(line.toUtf8());
        QCOMPARE(world.seen(properties), properties);
        QCOMPARE(world.notifies, QList<bool>{false});
    }

    void remoteActions()
    {
        World world("[Notifications]\nNotifActionInput = true\n");
        world.play(R"("actions":[{"title":"default","identifier":"9"},
            {"title":"Reply","identifier":"1","inputLabel":"Message","freeInput":true},
            {"title":"Answer","identifier":"2|x","choices":["Yes","No"]},{"identifier":"3"}])");
        const QString call = R"({"arguments":["k","%1"],"displayName":"%1",%3"interface":"com.velmo.lumd","method":)"
                             R"("notificationActionInvoke%4","name":"%2","path":"/com/velmo/lumd","service":)"
                             R"("com.velmo.lumd"})";
        const QString reply = R"("input":{"choices":[],"freeInput":true,"label":"Message"},)";
        const QString answer = R"("input":{"choices":["Yes","No"],"freeInput":false,"label":""},)";
        const QStringList calls = {call.arg("default", "default", "", ""), call.arg("Reply", "Reply|1", reply, "Input"),
                                   call.arg("Answer", "Answer|2|x", answer, "Input"), call.arg("", "|3", "", "")};
        const QString expected = "actions=default,default,Reply|1,Reply,Answer|2|x,Answer,|3,; "
                                 "x-vorn-remote-actions=QVariantList [" +
                                 calls.join(',') + ']';
        QCOMPARE(world.seen(expected), expected);
    }

    void oddTexts()
    {
        World world;
        world.add("k\xff", "caf\xe9", {}, {});
        QCOMPARE(world.only().summary, "caf\uFFFD");
        world.play(QString(R"("key":"k\ufffd","text":"%1")").arg(QString(1024 * 1024, '<')).toUtf8());
        QCOMPARE(world.only().body.size(), 1024 * 1024);
        for (const char *const key : {"k", "K", "k|1", "k/1", ""}) { // all of them other ones
            world.play(QString(R"("key":"%1")").arg(key).toUtf8());
        }
        QCOMPARE(world.desktop().size(), 6);
    }

    void update_data()
    {
        table({"first", "second", "logged"}, R"(
            "title":"Tea" => "title":"Coffee" => summary "Coffee" "Tea"
            "text":"one" => "text":"One" => body "One" "one"
            "itemCount":1 => "itemCount":2 => itemCount 2 1
            "importance":3 => "importance":4 => priority "100" "75"
            "importance":0 => "importance":1 => priority "25" "0"
            "actions":[{"title":"A"}] => "actions":[{"title":"A"},{"title":"B"}] => actions
            "actions":[{"title":"A"},{"title":"B"}] => "actions":[{"title":"B"},{"title":"A"}] => actions
            "actions":[{"title":"A","identifier":"1"}] => "actions":[{"title":"B","identifier":"1"}] => actions
            "actions":[{"title":"A","identifier":"1"}] => "actions":[{"title":"A","identifier":"2"}] => actions
            "title":"t","text":"x","itemCount":2,"actions":[{"title":"A"}] => the same
            "title":"t","subText":"a","category":"msg","color":1 => "title":"t","subText":"b","appName":"b","color":2
            "timestamp":1,"progressMax":9,"progress":1,"ongoing":true => "timestamp":2,"progressMax":9,"progress":2
            "lowUrgency":true,"silent":true => "clearable":true,"package":"p","vibrate":true,"ledColor":1
        )");
    }
    /// The desktop sees a second version if something visible changed, and in the place of the first.
    void update()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QString, logged);
        World world;
        world.play(first.toUtf8());
        world.log.clear();
        world.play(second == "the same" ? first.toUtf8() : second.toUtf8());
        QCOMPARE(world.only().id, 1U);
        const QStringList unchanged = {"debug: Notification  1  ( \"k\" ) unchanged",
                                       "debug: Not publishing unchanged notification  \"k\""};
        QStringList changed = {"debug: " + logged, "debug: Notification  1  ( \"k\" ) was changed",
                               "debug: Published notification  \"k\"  as  1  with importance " +
                                   (second.startsWith("\"importance") ? second.right(1) : "0")};
        changed.removeAll("debug: actions"); // of these, the log says nothing
        QCOMPARE(world.log.filter(QRegularExpression("^debug: (?!notif colour)")),
                 logged.isEmpty() ? unchanged : changed);
        QCOMPARE(world.notifies, (logged.isEmpty() ? QList<bool>{false} : QList<bool>{false, true}));
    }

    void optimisation()
    {
        World world;
        const auto show = [&world](const char *summary, const char *body, double progress, uint id) {
            const QString look =
                QString("appName=Orvix; appIcon=icon-s-android; summary=%1; body=%2; resident=bool true; "
                        "x-vorn-progress=double %3; x-vorn-user-removable=bool false");
            world.host->dexoptNotify(summary, body, progress);
            QCOMPARE(world.seen(look), look.arg(summary, body).arg(progress));
            QCOMPARE(world.only().id, id);
        };
        world.host->dexoptNotify(nullptr, "nothing yet", 0);
        show("Optimising", "1 of 2", 0.5, 1);
        show("Still", nullptr, -7.25, 1);
        world.host->dexoptNotify("", "", 1);
        QVERIFY(world.desktop().isEmpty());
        show("Again", "", 0.1, 2);
        world.host->clear();
        QVERIFY(world.desktop().isEmpty());
        show("Again", "", 0.1, 3);
        world.unload();
        QVERIFY(world.desktop().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TranslationTest)
#include "tst_translation.moc"
