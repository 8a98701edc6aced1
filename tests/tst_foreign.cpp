// SPDX-License-Identifier: MIT
#include "tests/fakeserver.h"
#include "tests/fixture.h"

namespace n = field::notification;
namespace a = field::action;

namespace
{

/// A server's capabilities, the look of a chat message there, and the effect of the user's act.
struct Profile {
    const char *name; ///< the capabilities
    QString body;
    QString reply; ///< name of the button that takes a text
    QString signal, argument;
    QString call, told;
    int value, timeout;
};

const Profile profiles[] = {
    {"inline-reply persistence", "a <b> · 25%\nme & you", "inline-reply", "NotificationReplied", "Hi",
     "notificationActionInvokeInput k Reply Hi", "told: action k Reply|1", 25, 0},
    {"body-markup", "a &lt;b&gt; · 25%\n<i>me &amp; you</i>", "Reply|1", "ActionInvoked", "Reply|1",
     "notificationActionInvoke k default", "told: action k default", 25, 0},
    {"x-canonical-private-icon-only persistence", "a <b> · 25%\nme & you", "Reply|1", "ActionInvoked", "Mood|2#2",
     "notificationActionInvokeInput k Mood Bad", "told: action k Mood|2", 0, -1},
    {"x-canonical-private-synchronous", "a <b>\nme & you", "Reply|1", "ActionInvoked", "Mute|3",
     "notificationActionInvoke k Mute", "told: action k Mute|3", 25, 0},
};

} // namespace

/// Servers that are not ours.
class ForeignTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isServedWell_data() { nameRows(profiles); }
    void isServedWell()
    {
        QFETCH(size_t, row);
        const Profile &profile = profiles[row];
        FakeServer server(QString(profile.name).split(' ') << "actions");
        Fixture fixture("[Notifications]\nNotifActionInput=true", server.address().toUtf8());
        const std::vector<Fields> actions = {
            {{a::title, "default"}},
            {{a::title, "Mood"}, {a::identifier, "2"}, {a::choices, list(Choices{"Good", "", "Bad"})}},
            {{a::title, "Reply"}, {a::identifier, "1"}, {a::freeInput, true}, {a::inputLabel, "Message"}},
            {{a::title, "Note"}, {a::identifier, "4"}, {a::freeInput, true}},
            {{a::title, "Mute"}, {a::identifier, "3"}}};
        fixture.add("k", {{n::ongoing, true}}); // the next version is not
        fixture.add("k", {{n::text, "a <b>"},
                          {n::subText, "me & you"},
                          {n::category, "msg"},
                          {n::importance, 4},
                          {n::progress, 1},
                          {n::progressMax, 4},
                          {n::actions, list(actions)}});
        DesktopNotification shown;
        server.run([&] { shown = server.shown.value(1); });
        QCOMPARE(shown.body, profile.body);
        QCOMPARE(
            shown.actions.join(','),
            QString("Mood|2#0,Good,Mood|2#2,Bad,%1,Reply,Note|4,Note,Mute|3,Mute,default,Open").arg(profile.reply));
        QCOMPARE(shown.hints["value"].toInt(), profile.value);
        QCOMPARE(shown.expireTimeout, profile.timeout);
        QCOMPARE(shown.hints["category"], "im.received");
        QCOMPARE(shown.hints["urgency"], QVariant::fromValue(uchar(1)));
        QCOMPARE(shown.hints["x-kde-reply-placeholder-text"] == "Message", profile.reply == "inline-reply");

        server.signal(profile.signal, {8U, profile.argument}); // another program's
        server.signal("ActionInvoked", {1U, "never offered"});
        server.signal("ActivationToken", {1U, "token"});
        server.signal(profile.signal, {1U, profile.argument});
        server.signal("ActionInvoked", {1U, "default"}); // some report the tap as well
        fixture.settle();
        server.run([] {}); // its notes can be read now
        QCOMPARE(fixture.happened().filter("told"), QStringList{profile.told});
        QCOMPARE(server.calls, (QStringList{"GetNotifications", "Notify", "Notify", profile.call}));
    }
};

QTEST_GUILESS_MAIN(ForeignTest)
#include "tst_foreign.moc"
