// SPDX-License-Identifier: MIT
#include "tests/fakeserver.h"
#include "tests/fixture.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>

#include <notification.h>
#include <notificationconnectionmanager.h>

#include <csignal>

namespace
{

const QStringList ours = {"persistence", "x-vorn-remote-actions"};
const QStringList foreign = {"actions", "body-markup", "persistence"};

struct Bus : QProcess {
    Bus()
    {
        start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        address = waitForReadyRead() ? readLine().trimmed() : QByteArray();
    }
    QString address;
};

/// A program that shows one notification a key, as the plug-in does, on a fake server.
struct Program {
    explicit Program(const QStringList &capabilities, const QString &bus = {})
        : server(std::make_unique<FakeServer>(capabilities, bus))
        , connection(bus.isEmpty() ? QDBusConnection::connectToPeer(server->address(), "program")
                                   : QDBusConnection::connectToBus(bus, "program"))
    {
        NotificationConnectionManager::useDBusConnection(connection);
    }
    ~Program()
    {
        qDeleteAll(live);
        QDBusConnection::disconnectFromPeer("program");
        QDBusConnection::disconnectFromBus("program");
    }
    Notification *add(const QString &key, const QString &text)
    {
        auto *const fresh = new Notification;
        fresh->setSummary(text);
        fresh->setBody('<' + text + '|' + key); // other servers get no key
        fresh->setHintValue("x-vorn-origin-key", key);
        fresh->setRemoteActions({Notification::remoteAction("a|1", "A", "", "/", "com.velmo.lumd", "call", {key})});
        if (Notification *const old = live.take(key)) {
            fresh->setReplacesId(old->replacesId());
            delete old;
        }
        fresh->publish();
        live[key] = fresh;
        QObject::connect(fresh, &Notification::actionInvoked, [=](const QString &name) { told << key + ' ' + name; });
        QObject::connect(fresh, &Notification::closed, [=] {
            told << key + " gone";
            live.remove(key);
            fresh->deleteLater();
        });
        return fresh;
    }
    void remove(const QString &key) { closeAll({live.take(key)}); }
    /// The user dismisses the notification of this number, if there is one; returns its key.
    QString dismiss(int number)
    {
        QString key;
        server->run([&] {
            const DesktopNotification one = server->shown.values().value(number);
            key = one.body.section('|', 1);
            one.id != 0 ? server->close(one.id) : void();
        });
        return key;
    }
    /// Another one takes the server's place on the bus, with what the one before has shown, or with nothing.
    void changeServer(const QStringList &capabilities, const QString &bus, bool remembers)
    {
        const auto shown = server->leave();
        server = std::make_unique<FakeServer>(capabilities, bus, remembers ? shown : decltype(server->shown)());
    }
    static void clear() { closeAll(Notification::notifications()); }
    static void closeAll(const QList<QObject *> &notifications)
    {
        for (QObject *const object : notifications) {
            object ? qobject_cast<Notification *>(object)->close() : void();
            delete object;
        }
    }
    /// Returns when all is handled that was sent, in either direction, and what was sent because of it.
    void settle() const
    {
        for (int i = 0; i < 4; ++i) {
            QVERIFY(::settle(connection));
        }
        server->run([] {}); // so that what it has noted can be read
    }
    QString shown() const
    {
        settle();
        QStringList texts;
        server->run([&] {
            for (const DesktopNotification &notification : qAsConst(server->shown)) {
                texts << notification.hints.value("x-vorn-origin-key").toString() + notification.summary;
            }
        });
        texts.sort();
        return texts.join(' ');
    }

    std::unique_ptr<FakeServer> server;
    QDBusConnection connection;
    QMap<QString, Notification *> live;
    QStringList told;
};

struct Row {
    const char *name;
    void (*happens)(Program &program, FakeServer &server);
    const char *shown;
    const char *told = "";
    QStringList capabilities = ours;
};

QDBusMessage refuse(const QDBusMessage &notify) { return notify.createErrorReply("x.y", "no"); }

/// Each begins with k shown as k1.
// clang-format off
const Row rows[] = {
    {"answers come late", [](auto &p, auto &s) {
        s.hold();
        for (const char *const text : {"1", "2", "3"}) { p.add("l", text); p.add("k", text); }
        QCOMPARE(p.live["l"]->replacesId(), 0U);
        s.release(); }, "k3 l3"},
    {"answers come in another order", [](auto &p, auto &s) {
        s.hold(); p.add("l", "1"); p.add("m", "1"); p.add("k", "2");
        s.release(true); p.settle(); p.remove("l"); }, "k2 m1"},
    {"closed and published again before the identifier comes", [](auto &p, auto &s) {
        s.hold();
        Notification *const l = p.add("l", "1");
        l->close(); l->setSummary("2"); l->publish();
        s.release(); }, "k1 l2"},
    {"cleared before the identifier comes", [](auto &p, auto &s) {
        s.hold(); p.add("l", "1"); Program::clear(); s.release(); p.settle();
        QCOMPARE(s.calls.filter("Close"), (QStringList{"Close 1", "Close 2"})); }, "", "k gone l gone"},
    {"dismissed while an update is on its way", [](auto &p, auto &s) {
        s.keepsIds = true;
        s.close(1); p.add("k", "2"); p.settle();
        QCOMPARE(p.told, QStringList());
        p.add("k", "3"); s.close(1); }, "", "k gone"},
    {"cleared and added again at once", [](auto &p, auto &s) {
        s.keepsIds = true; Program::clear(); p.add("k", "2"); }, "k2"},
    {"dismissed while an update is refused", [](auto &p, auto &s) {
        s.answer = refuse; s.hold(); p.add("k", "2"); p.add("l", "1"); s.close(1); p.settle(); s.release(); },
        "", "k gone"},
    {"dismissed before an update is refused at once", [](auto &p, auto &s) {
        s.keepsIds = true; p.add("k", "2"); p.settle();
        s.answer = refuse; s.close(1); p.add("k", "3"); }, "", "k gone"},
    {"an update is refused, the next one is not", [](auto &p, auto &s) {
        s.answer = refuse; p.add("k", "2"); p.add("l", "2");
        s.answer = nullptr; p.add("k", "3"); p.add("l", "3"); }, "k3 l3"},
    {"answers are of another type, or name no identifier", [](auto &p, auto &s) {
        s.answer = [](auto &notify) { return notify.createReply(QStringList{"x"}); }; p.add("l", "1");
        s.answer = [](auto &notify) { return notify.createReply(0U); }; p.add("m", "1");
        QCOMPARE(p.live["m"]->replacesId(), 0U); }, "k1"},
    {"one identifier is given to two", [](auto &p, auto &s) {
        s.answer = [](auto &notify) { return notify.createReply(1U); }; p.add("l", "1"); s.answer = nullptr;
        QCOMPARE(p.live["k"]->replacesId(), 0U);
        s.signal("ActionInvoked", {1U, "a|1"}); }, "k1", "l a|1"},
    {"closed twice", [](auto &p, auto &s) {
        Notification *const k = p.live["k"];
        k->close(); k->close(); p.settle();
        s.signal("NotificationClosed", {1U, 2U});
        QCOMPARE(s.calls.join(' '), "Notify Close 1"); }, "", "k gone"},
    {"another's server expires a pop-up, and forgets it", [](auto &p, auto &s) {
        s.signal("NotificationClosed", {1U, 1U}); p.settle(); s.run([&s] { s.shown.clear(); });
        QCOMPARE(p.told, QStringList());
        Program::clear(); p.settle(); p.add("k", "1");
        QCOMPARE(s.calls, (QStringList{"Notify", "Close 1", "Notify"})); }, "1", "k gone", foreign},
    {"leftovers are listed late", [](auto &p, auto &s) {
        s.run([&s] { s.shown[7] = {7, {}, {}, {}, {}, {}, {{"x-vorn-owner", "tst_client"}}, 0}; });
        s.hold(); qDeleteAll(Notification::notifications()); p.add("l", "1"); s.release(); }, "k1 l1"},
    {"without a key", [](auto &p, auto &s) { s.hold(); p.add({}, "1"); p.add({}, "2"); s.release(); }, "2 k1"},
    {"closed, published again and destroyed before that is told", [](auto &, auto &s) {
        Notification one;
        one.setSummary("1"); s.answer = refuse; one.publish(); one.close(); s.answer = nullptr; one.publish(); },
        "1 k1"},
    {"messages are cleared on another's server", [](auto &, auto &) {
        Notification message; message.setSummary("message"); message.publish(); Program::clear(); },
        "", "k gone", foreign},
    {"our server expires it", [](auto &, auto &s) { s.close(1, 1); }, "", "k gone"},
};
// clang-format on

} // namespace

class ClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatever_data() { nameRows(rows); }
    void whatever()
    {
        QFETCH(size_t, row);
        Program program(rows[row].capabilities);
        program.add("k", "1");
        program.settle();
        rows[row].happens(program, *program.server);
        QCOMPARE(program.shown(), rows[row].shown);
        QCOMPARE(program.told.join(' '), rows[row].told);
    }

    /// What is shown is sent once the server is known, in the form that suits it.
    void capabilitiesComeLate()
    {
        Program program(foreign);
        program.server->hold();
        program.add("k", "1"), program.add("l", "1"), program.add("k", "2");
        QCOMPARE(program.server->calls, QStringList());
        QTRY_COMPARE(program.live["k"]->replacesId(), 1U); // after a reminder
        QCOMPARE(program.shown(), "1 2");                  // without our own hints
        QCOMPARE(program.server->shown[1].body, "&lt;2|k");
        program.server->signal("ActionInvoked", {1U, "a|1"});
        program.settle();
        QCOMPARE(program.told, QStringList{"k a|1"});
        QCOMPARE(program.server->calls, (QStringList{"Notify", "Notify", "call k"}));
    }

    /// Identifiers are of one server. The next one gets everything, and keeps nothing that an earlier one has shown.
    void serversChange()
    {
        const Bus bus;
        Program program(ours, bus.address);
        program.add("k", "2"), program.add("l", "2");
        QCOMPARE(program.shown(), "k2 l2");
        const DesktopNotification other = {2, {}, {}, "other's", {}, {}, {}, 0};
        const QMap<uint, DesktopNotification> remembered = {{1, program.server->shown[1]}, {2, other}};
        program.server.reset();
        program.server = std::make_unique<FakeServer>(ours, bus.address, remembered);
        QTRY_COMPARE(program.shown(), "k2 l2 other's");
        QCOMPARE(program.server->calls, (QStringList{"Notify", "Notify", "Close 1"}));

        program.changeServer(foreign, bus.address, false);
        QTRY_COMPARE(program.shown(), "2 2");
        QCOMPARE(program.server->shown.first().hints["suppress-sound"], QVariant(true));
        program.server->hold();
        Program::clear(); // which it does not live to see
        program.server.reset();
        QTRY_COMPARE(program.told, (QStringList{"k gone", "l gone"}));
        program.add("m", "1"), Program::clear();
        program.server = std::make_unique<FakeServer>(foreign, bus.address);
        QCOMPARE(program.shown(), "");
        QCOMPARE(program.told.last(), "m gone");
    }

    /// However it answers, a server may not hold up the thread for more than 1.5 s in 10 s.
    void waitingIsBounded()
    {
        for (const int afterMs : {900, 1200}) {
            Program program(ours);
            program.add("k", "0");
            program.server->hold();
            QTimer *timer = nullptr;
            program.server->run([&] {
                timer = new QTimer(program.server.get());
                timer->callOnTimeout(timer, [&] { program.server->release(), program.server->hold(); });
                timer->start(afterMs);
            });
            QElapsedTimer elapsed;
            elapsed.start();
            for (int i = 1; i < 20; ++i) {
                program.add("k", QString::number(i));
            }
            QVERIFY2(elapsed.elapsed() < 1500, qPrintable(QString::number(elapsed.elapsed())));
            program.server->run([&] { delete timer; });
            program.server->release();
            QCOMPARE(program.shown(), "k19");
            program.add("k", "20"); // answered quickly again, so this is waited for
            QCOMPARE(program.live["k"]->replacesId(), 1U);
        }
    }

    /// Whatever happens in whatever order: in the end, what the program shows is on the desktop, once and as it was
    /// last, nothing else is, and the program is told of what the user dismissed, and of nothing else.
    void randomEvents_data()
    {
        QTest::addColumn<QStringList>("capabilities");
        QTest::addColumn<bool>("changing");
        QTest::newRow("our server") << ours << false;
        QTest::newRow("another that keeps identifiers") << foreign << false;
        QTest::newRow("servers that come and go") << ours << true;
    }
    void randomEvents()
    {
        QFETCH(QStringList, capabilities);
        QFETCH(bool, changing);
        const uint seed =
            qEnvironmentVariable("KAVREL_SEED", QString::number(QRandomGenerator::global()->generate())).toUInt();
        QTest::qWarn(qPrintable(QString("KAVREL_SEED=%1").arg(seed)));
        QRandomGenerator random(seed);
        const std::unique_ptr<Bus> bus(changing ? new Bus : nullptr);
        Program program(capabilities, bus ? bus->address : QString());
        program.server->keepsIds = capabilities == foreign;
        QMap<QString, QString> certain; // what nobody has touched since it was added
        for (int step = 1; step <= qEnvironmentVariable("KAVREL_STEPS", "5000").toInt(); ++step) {
            const QString key(QChar('a' + random.bounded(6)));
            const int what = random.bounded(changing ? 101 : 100);
            FakeServer &server = *program.server;
            // clang-format off
            if (what < 40) { program.add(key, certain[key] = QString::number(random.bounded(100))); }
            else if (what < 55) { program.remove(key); certain.remove(key); }
            else if (what < 70) { certain.remove(program.dismiss(random.bounded(6))); }
            else if (what < 75) { server.hold(); }
            else if (what < 85) { server.handleOne(); }
            else if (what < 90) { program.settle(); }
            else if (what < 92) { Program::clear(); certain.clear(); }
            else if (what < 100) { server.release(); }
            else { program.changeServer(capabilities, bus->address, random.bounded(2) == 0); }
            // clang-format on
            if (step % 20 != 0) {
                continue;
            }
            program.server->release();
            QStringList expected;
            program.settle();
            for (auto live = program.live.cbegin(); live != program.live.cend(); ++live) {
                expected << (capabilities == foreign ? "" : live.key()) + (*live)->summary();
            }
            expected.sort();
            QCOMPARE(program.shown(), expected.join(' '));
            for (auto sure = certain.cbegin(); sure != certain.cend(); ++sure) {
                QVERIFY2(program.live.contains(sure.key()), "told that something is gone that nobody has touched");
                QCOMPARE(program.live[sure.key()]->summary(), *sure);
            }
            program.told.clear();
            const QString dismissed = program.dismiss(0);
            certain.remove(dismissed);
            program.settle();
            QCOMPARE(program.told, dismissed.isEmpty() ? QStringList() : QStringList{dismissed + " gone"});
        }
    }
};

QTEST_GUILESS_MAIN(ClientTest)
#include "tst_client.moc"
