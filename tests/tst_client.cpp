// SPDX-License-Identifier: MIT
#include "tests/clientrows.h"
#include "tests/publicationgame.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QRandomGenerator>

class ClientTest : public QObject
{
    Q_OBJECT

    inline static std::unique_ptr<FakeServer> last;

private Q_SLOTS:
    /// When the application object goes, the library closes what `cleanupTestCase` shows.
    void initTestCase()
    {
        qAddPostRoutine([] { // added before the library's, so it runs after that
            const QDeadlineTimer deadline(5000);
            for (bool closed = false; !closed;) {
                last->run([&] { closed = last->calls.last() == "Close 1"; });
                if (!closed && deadline.hasExpired()) {
                    qFatal("The application leaves a notification behind");
                }
            }
            if (NotificationConnectionManager::useDBusConnection(QDBusConnection("last"))) {
                qFatal("The library goes on");
            }
            last.reset();
        });
    }
    void cleanupTestCase()
    {
        last = std::make_unique<FakeServer>(foreign);
        NotificationConnectionManager::useDBusConnection(QDBusConnection::connectToPeer(last->address(), "last"));
        Notification().publish();
    }

    void events_data() { nameRows(rows); }
    void events()
    {
        QFETCH(size_t, row);
        Program program(rows[row].capabilities);
        program.add("k", "1");
        program.settle();
        rows[row].happens(program, *program.server);
        QCOMPARE(program.shown(), rows[row].shown);
        QCOMPARE(program.told.join(' '), rows[row].told);
    }

    void everySequence()
    {
        Notification host;
        for (const bool keepsIds : {false, true}) {
            Game game{keepsIds, &host};
            QVERIFY(game.play('p') && areFair(game, "p", 8));
            QVERIFY(game.play('s') && game.play('c') && areFair(game, "psc", 10));
        }
    }

    /// A notification is sent once the server is known, in the form that suits it.
    void capabilitiesComeLate()
    {
        Program program(foreign);
        program.server->hold();
        program.add("k", "1"), program.add("l", "1"), program.add("k", "2");
        QCOMPARE(program.server->calls, QStringList());
        QTRY_COMPARE(program.live["k"]->replacesId(), 1U); // after a reminder
        QCOMPARE(program.shown(), "1 2");                  // without our own hints
        QCOMPARE(program.server->shown[1].body, "&lt;2|k");
    }

    /// A call without an answer blocks neither the server nor its notification for ever.
    void neverAnswered()
    {
        Program program(foreign);
        program.server->run([&] { program.server->ignores = "GetServerInformation"; });
        program.add("k", "1");
        QTRY_COMPARE_WITH_TIMEOUT(program.live["k"]->replacesId(), 1U, 10000);
        program.server->run([&] { program.server->ignores = "Notify"; });
        program.add("k", "2"), program.add("l", "1"), program.add("k", "3");
        QTRY_COMPARE_WITH_TIMEOUT(program.shown(), "1 3", 80000);
    }

    /// Identifiers are of one server. The next one gets everything, and the earlier one keeps nothing.
    void serversChange()
    {
        Program program(foreign, 2);
        program.add("k", "1"), program.add("l", "1");
        QCOMPARE(program.shown(), "1 1");
        FakeServer *const first = program.servers[0].get(), *const second = program.server;
        second->hold();
        Notification().publish();
        program.changeServer();
        QTRY_COMPARE(first->shown.size(), 3);
        QVERIFY(first->shown[1].hints["suppress-sound"].toBool() && !first->shown[3].hints.contains("suppress-sound"));
        second->release();
        QTRY_COMPARE(program.shown(), "1 1 Android");
        first->hold();
        Program::clear(); // which it does not live to see
        first->leaveName();
        QTRY_COMPARE(program.told, (QStringList{"k gone", "l gone"}));
        QTest::ignoreMessage(QtWarningMsg, "Gave up a notification: there is no server. The name "
                                           "org.freedesktop.Notifications was not provided by any .service files");
        program.add("m", "1"), Program::clear();
        first->release();
        program.changeServer();
        QCOMPARE(program.shown(), "");
        QCOMPARE(program.told.last(), "m gone");
    }

    /// A message needs no object to survive a time without a server.
    void serverLeaves()
    {
        Program program(ours, 2);
        program.server->hold();
        for (int i = 0; i < 150; ++i) {
            Notification().publish();
        }
        program.server->leaveName();
        for (int i = 0; i < 20; ++i) { // until the library knows that nobody serves
            program.connection.interface()->isServiceRegistered("x");
            QCoreApplication::processEvents();
        }
        program.changeServer();
        QTRY_COMPARE(program.server->shown.size(), 150);
    }

    /// No identifier outlives its server.
    void dismissedBeforeAnotherServer()
    {
        Program program(ours, 2);
        program.add("k", "1");
        program.settle();
        program.server->close(1);
        program.changeServer();
        program.add("l", "1"); // its wait handles the dismissal and the change
        program.add("k", "2");
        QCOMPARE(program.shown(), "k2 l1");
    }

    /// A notification that three servers do not survive is given up, since it may be the cause.
    void threeServersLeave()
    {
        Program program(ours, 2);
        QTest::ignoreMessage(QtWarningMsg, "Gave up a notification: the server was lost each time that it was sent");
        for (int i = 0; i < 4; ++i) {
            program.changeServer();
            program.server->run([&program] { program.server->ignores = "Notify"; });
            program.settle();
            if (i == 0) {
                program.add("k", "1");
            }
        }
        QCOMPARE(program.server->ignores, "Notify");
    }

    /// Live notifications move, and late answers to the earlier connection do no harm on the next one.
    void connectionChanges()
    {
        Program program(foreign);
        program.add("k", "1");
        program.server->hold();
        program.add("k", "2");
        FakeServer peer(foreign);
        const QDBusConnection connection = QDBusConnection::connectToPeer(peer.address(), "peer");
        NotificationConnectionManager::useDBusConnection(connection);
        QTRY_COMPARE(program.live["k"]->replacesId(), 1U);
        program.server->release();
        program.settle();
        QVERIFY(settle(connection));
        QCOMPARE(program.server->calls, (QStringList{"Notify", "Notify", "Close 1"}));
        QCOMPARE(peer.calls, (QStringList{"GetNotifications", "Notify"}));
    }

    /// However it answers, a server may not hold up the thread for more than 1.5 s in 10 s.
    void waitingIsBounded()
    {
        for (const int afterMs : {900, 1200}) {
            Program program(ours);
            program.add("k", "0");
            program.settle();
            program.server->onNotify([&program, afterMs](auto &notify) {
                QThread::msleep(afterMs);
                program.server->show(notify);
            });
            QElapsedTimer elapsed;
            elapsed.start();
            for (int i = 1; i < 20; ++i) {
                program.add("k", QString::number(i));
            }
            QVERIFY2(elapsed.elapsed() < 1500, qPrintable(QString::number(elapsed.elapsed())));
            program.server->onNotify({});
            QCOMPARE(program.shown(), "k19");
            program.add("k", "20"); // answered quickly again, so this is waited for
            QCOMPARE(program.live["k"]->replacesId(), 1U);
        }
    }

    /// Events in random order. In the end the desktop shows the last version of each live notification once and nothing
    /// else, and the program was told of each dismissal and of nothing else.
    void randomEvents_data()
    {
        QTest::addColumn<QStringList>("capabilities");
        QTest::newRow("our servers") << ours;
        QTest::newRow("others that keep identifiers") << foreign;
    }
    void randomEvents()
    {
        QFETCH(QStringList, capabilities);
        const uint seed =
            qEnvironmentVariable("KAVREL_SEED", QString::number(QRandomGenerator::global()->generate())).toUInt();
        QTest::qWarn(qPrintable(QString("KAVREL_SEED=%1").arg(seed)));
        QRandomGenerator random(seed);
        Program program(capabilities, 3);
        for (const std::unique_ptr<FakeServer> &any : program.servers) {
            any->keepsIds = capabilities == foreign;
        }
        const auto change = [&] { program.changeServer(random.bounded(1, 3)); };
        bool stuck = false, changed = false;
        for (int step = 1; step <= qEnvironmentVariable("KAVREL_STEPS", "5000").toInt(); ++step) {
            const QString key(QChar('a' + random.bounded(6)));
            const int what = random.bounded(102);
            FakeServer &server = *program.server;
            // clang-format off
            if (what < 40) { program.add(key, QString::number(random.bounded(100))); }
            else if (what < 55) { program.remove(key); }
            else if (what < 68) { program.dismiss(random.bounded(6)); }
            else if (what < 70) { server.run([&] { server.dismissesNext = true; }); }
            else if (what < 75) { server.hold(); }
            else if (what < 85) { server.handleOne(); }
            else if (what < 90) { program.settle(); }
            else if (what < 92) { Program::clear(); }
            else if (what < 100) { server.release(); }
            else if (what < 101) { server.run([&] { server.ignores = "Notify"; }); stuck = true; }
            else if (!std::exchange(changed, true)) { change(); }
            // clang-format on
            if (step % 20 != 0) {
                continue;
            }
            if (std::exchange(stuck, changed = false)) {
                change();
            }
            for (const std::unique_ptr<FakeServer> &any : program.servers) {
                any->run([&] { any->ignores.clear(), any->dismissesNext = false; });
                any->release();
            }
            QStringList expected;
            program.settle();
            for (auto live = program.live.cbegin(); live != program.live.cend(); ++live) {
                expected << (capabilities == foreign ? "" : live.key()) + (*live)->summary();
            }
            expected.sort();
            QCOMPARE(program.shown(), expected.join(' '));
            program.told.clear();
            const QString dismissed = program.dismiss(0);
            program.settle();
            QCOMPARE(program.told, dismissed.isEmpty() ? QStringList() : QStringList{dismissed + " gone"});
        }
    }
};

QTEST_GUILESS_MAIN(ClientTest)
#include "tst_client.moc"
