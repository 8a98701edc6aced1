#include "server.h"
#include "world.h"

#include <QtTest/QtTest>

#include <limits>

namespace
{

QString expected(const char *text) { return QString::fromUtf8(text); }

} // namespace

/// What one Android notification looks like when it reaches the desktop.
class TranslationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void property_data();
    void property();
    void remoteActions_data();
    void remoteActions();
    void invalidUtf8();
    void integersAreCutToTheirWidth();
    void transientMessages();
};

void TranslationTest::property_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("properties"); // one a line; after "!" the start of one that must be missing
    const auto row = [](const char *name, const char *json, const char *properties) {
        QTest::newRow(name) << QByteArray(json) << expected(properties);
    };
    row("nothing but the key", R"({"key":"k"})",
        "appName=\nsummary=\nbody=\nappIcon=\nactions=\nhint x-vorn-origin-key=QString k\n"
        "hint x-vorn-origin-package=QString \nhint x-vorn-color=QString auto\nhint urgency=uchar 0\n"
        "hint x-vorn-priority=int 0\nhint x-vorn-display-on=bool true\nhint x-vorn-user-removable=bool false\n"
        "!hint category\n!hint x-vorn-feedback\n!hint suppress-sound\n!hint x-vorn-vibrate\n"
        "!hint x-vorn-led-argb\n!hint resident\n!hint transient\n!hint value\n!hint image-path\n"
        "!hint x-vorn-item-count\n!hint x-vorn-timestamp\n!hint x-vorn-remote-actions");
    row("texts", R"({"key":"a|b/c","appName":"Chat","title":"Ada","text":"Hi ✓\nthere","subText":"Work",
                     "package":"org.example.chat"})",
        "appName=Chat\nsummary=Ada\nhint x-vorn-sub-text=QString Work\n"
        "hint x-vorn-origin-key=QString a|b/c\nhint x-vorn-origin-package=QString org.example.chat");
    row("no key", R"({"key":"","title":"t"})", "summary=t\nhint x-vorn-origin-key=QString ");
    row("category msg", R"({"key":"k","category":"msg"})",
        "hint category=QString chat\nhint x-vorn-feedback=QString chat,chat_exists");
    row("category event", R"({"key":"k","category":"event"})",
        "hint category=QString calendar\nhint x-vorn-feedback=QString calendar");
    row("category email", R"({"key":"k","category":"email"})",
        "hint category=QString email\nhint x-vorn-feedback=QString email,email_exists");
    row("category alarm", R"({"key":"k","category":"alarm"})",
        "hint category=QString clock\nhint x-vorn-feedback=QString clock");
    row("category, other case", R"({"key":"k","category":"MSG"})", "hint category=QString MSG\n!hint x-vorn-feedback");
    row("category, more than the word", R"({"key":"k","category":"msg "})",
        "hint category=QString msg \n!hint x-vorn-feedback");
    row("opaque colour", R"({"key":"k","color":4280391411})", "hint x-vorn-color=QString #ff2196f3");
    row("black", R"({"key":"k","color":4278190080})", "hint x-vorn-color=QString #ff000000");
    row("short colour", R"({"key":"k","color":128})", "hint x-vorn-color=QString #000080");
    row("negative colour", R"({"key":"k","color":-16711936})", "hint x-vorn-color=QString #ff00ff00");
    row("LED", R"({"key":"k","ledColor":4278255360})", "hint x-vorn-led-argb=int -16711936");
    row("vibrate", R"({"key":"k","vibrate":true})",
        "hint x-vorn-vibrate=bool true\nhint x-vorn-display-on=bool true\n!hint suppress-sound");
    row("silent", R"({"key":"k","silent":true})",
        "hint suppress-sound=bool true\n!hint x-vorn-vibrate\n!hint x-vorn-display-on");
    row("silent but vibrating", R"({"key":"k","silent":true,"vibrate":true})",
        "hint suppress-sound=bool true\nhint x-vorn-vibrate=bool true\nhint x-vorn-display-on=bool true");
    row("timestamp", R"({"key":"k","timestamp":1700000000123})", "hint x-vorn-timestamp=qlonglong 1700000000123");
    row("progress", R"({"key":"k","progressMax":4,"progress":1})",
        "hint value=int 25\nhint x-vorn-progress=double 0.25");
    row("progress beyond the end", R"({"key":"k","progressMax":2,"progress":3})",
        "hint value=int 100\nhint x-vorn-progress=double 1.5");
    row("progress below the start", R"({"key":"k","progressMax":2,"progress":-1})", "hint x-vorn-progress=double -0.5");
    row("no progress", R"({"key":"k","progressMax":0,"progress":1})", "!hint value\n!hint x-vorn-progress");
    row("progress of unknown extent", R"({"key":"k","progressMax":100,"progress":40,"indeterminate":true})",
        "hint x-vorn-progress=int -1\n!hint value");
    for (const auto &[importance, priority, urgency] :
         {std::array{-1, -25, 1}, {1, 25, 0}, {2, 50, 1}, {3, 75, 1}, {4, 100, 2}, {5, 125, 2}, {6, 150, 1}}) {
        QTest::addRow("importance %d", importance)
            << QStringLiteral(R"({"key":"k","importance":%1})").arg(importance).toUtf8()
            << QStringLiteral("hint x-vorn-priority=int %1\nhint urgency=uchar %2").arg(priority).arg(urgency);
    }
    row("important, but of low urgency", R"({"key":"k","importance":5,"lowUrgency":true})",
        "hint x-vorn-priority=int 125\nhint urgency=uchar 0");
    row("ongoing", R"({"key":"k","ongoing":true})", "hint resident=bool true");
    row("clearable", R"({"key":"k","clearable":true})", "!hint x-vorn-user-removable\nexpireTimeout=-1");
    row("item count", R"({"key":"k","itemCount":3})", "hint x-vorn-item-count=int 3");
    row("negative item count", R"({"key":"k","itemCount":-3})", "!hint x-vorn-item-count");
}

void TranslationTest::property()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, properties);
    World world;
    world.add(json);
    const QStringList seen = describe(world.only());
    const QStringList wanted = properties.split(QLatin1Char('\n'));
    for (const QString &property : wanted) {
        const QByteArray message = (property + QStringLiteral("\nin:\n") + seen.join(QLatin1Char('\n'))).toUtf8();
        if (property.startsWith(QLatin1Char('!'))) {
            QVERIFY2(seen.filter(QRegularExpression(QLatin1Char('^') + property.mid(1) + QLatin1Char('='))).isEmpty(),
                     message.constData());
        } else {
            QVERIFY2(seen.contains(property), message.constData());
        }
    }
    QCOMPARE(world.notifies.size(), 1);
}

void TranslationTest::remoteActions_data()
{
    QTest::addColumn<QByteArray>("actions");
    QTest::addColumn<bool>("input");
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<QStringList>("calls"); // method(arguments)[label,free,choices]
    const QByteArray mixed = R"([
        {"title":"default","identifier":"9"},
        {"title":"Reply","identifier":"1","inputLabel":"Message","freeInput":true},
        {"title":"Answer","identifier":"2|x","choices":["Yes","No"]},
        {"identifier":"3"},
        {"title":"Mark as read","identifier":"4"}])";
    QTest::newRow("none") << QByteArray("[]") << true << QStringList() << QStringList();
    QTest::newRow("input off") << mixed << false
                               << QStringList{"default", "default", "|3", "", "Mark as read|4", "Mark as read"}
                               << QStringList{"notificationActionInvoke(k,default)", "notificationActionInvoke(k,)",
                                              "notificationActionInvoke(k,Mark as read)"};
    QTest::newRow("input on") << mixed << true
                              << QStringList{"default", "default", "Reply|1", "Reply",          "Answer|2|x",
                                             "Answer",  "|3",      "",        "Mark as read|4", "Mark as read"}
                              << QStringList{"notificationActionInvoke(k,default)",
                                             "notificationActionInvokeInput(k,Reply)[Message,true,]",
                                             "notificationActionInvokeInput(k,Answer)[,false,Yes,No]",
                                             "notificationActionInvoke(k,)",
                                             "notificationActionInvoke(k,Mark as read)"};
}

void TranslationTest::remoteActions()
{
    QFETCH(QByteArray, actions);
    QFETCH(bool, input);
    World world(input ? "[Notifications]\nNotifActionInput = true\n" : "");
    world.add(R"({"key":"k","actions":)" + actions + "}");
    const DesktopNotification shown = world.only();
    QTEST(shown.actions, "buttons");
    QStringList calls;
    const QVariantList descriptions = shown.hints.value(protocol::remoteActionsHint()).toList();
    for (const QVariant &description : descriptions) {
        const QVariantMap map = description.toMap();
        QCOMPARE(map.value("service").toString(), QStringLiteral("com.velmo.lumd"));
        QCOMPARE(map.value("path").toString(), QStringLiteral("/com/velmo/lumd"));
        QCOMPARE(map.value("interface").toString(), QStringLiteral("com.velmo.lumd"));
        QString call = map.value("method").toString() + QLatin1Char('(') +
                       map.value("arguments").toStringList().join(QLatin1Char(',')) + QLatin1Char(')');
        if (map.contains("input")) {
            const QVariantMap format = map.value("input").toMap();
            call += QStringLiteral("[%1,%2,%3]")
                        .arg(format.value("label").toString(), format.value("freeInput").toString(),
                             format.value("choices").toStringList().join(QLatin1Char(',')));
        }
        calls.append(call);
    }
    QTEST(calls, "calls");
}

void TranslationTest::invalidUtf8()
{
    World world;
    const lumd::Record record = lumd::newRecord(lumd::notificationRecord);
    lumd::setString(record.get(), 0x01, "k\xff");
    lumd::setString(record.get(), 0x21, "caf\xe9");
    lumd::setString(record.get(), 0x31, std::string(1024 * 1024, '<'));
    world.host->add(record.get());
    QCOMPARE(world.only().summary, QString::fromUtf8("caf\xef\xbf\xbd"));
    QCOMPARE(world.only().body.size(), 1024 * 1024);
}

void TranslationTest::integersAreCutToTheirWidth()
{
    World world;
    const lumd::Record record = lumd::newRecord(lumd::notificationRecord);
    lumd::setInt(record.get(), 0x112, (1LL << 32) + 3);
    lumd::setInt(record.get(), 0x0C2, 1LL << 32);
    lumd::setInt(record.get(), 0x102, std::numeric_limits<int>::max());
    world.host->add(record.get());
    const QStringList seen = describe(world.only());
    QVERIFY(seen.contains(QStringLiteral("hint x-vorn-item-count=int 3")));
    QVERIFY(seen.contains(QStringLiteral("hint x-vorn-color=QString auto")));
    QVERIFY(seen.contains(QStringLiteral("hint x-vorn-priority=int 2147483623")));
}

void TranslationTest::transientMessages()
{
    World world;
    for (const bool warning : {true, false, false}) {
        const lumd::Record record = lumd::newRecord(lumd::messageRecord);
        lumd::setString(record.get(), 0x71, "Storage is full");
        lumd::setBool(record.get(), 0x84, warning);
        world.host->publish(record.get());
    }
    world.host->publish(lumd::newRecord(lumd::messageRecord).get());
    world.settle();
    QCOMPARE(world.notifies.size(), 4);
    QVERIFY(!world.replacements.contains(true));
    const QStringList warning = describe(world.notifies.at(0));
    for (const char *property : {"summary=Storage is full", "appIcon=icon-lock-warning", "hint urgency=uchar 2",
                                 "hint transient=bool true", "expireTimeout=-1", "body=", "appName="}) {
        QVERIFY2(warning.contains(expected(property)), property);
    }
    QVERIFY(describe(world.notifies.at(1)).contains(expected("appIcon=icon-s-android")));
    QVERIFY(describe(world.notifies.at(1)).contains(expected("hint urgency=uchar 1")));
    QCOMPARE(world.notifies.at(3).summary, QString());
}

QTEST_GUILESS_MAIN(TranslationTest)
#include "tst_translation.moc"
