#include "server.h"
#include "world.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <thread>

/// The host's thread must neither crash nor stall, whatever the server does.
class FaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serverDies();
    void serverHangs();
};

void FaultsTest::serverDies()
{
    World world;
    world.add(R"({"key":"k","title":"t"})");
    world.settle();
    world.stopServer();
    for (int i = 0; i < 100; ++i) {
        world.add(QByteArray(R"({"key":"k","title":")" + QByteArray::number(i) + "\"}"));
    }
    world.host->clear();
    world.host->remove("k");
    world.settle();
    QCOMPARE(world.told, QStringList());
}

/// The first publish waits its bounded time, later ones do not; nothing is lost once the server goes on.
void FaultsTest::serverHangs()
{
    World world;
    world.add(R"({"key":"before"})");
    world.settle();
    QSemaphore hanging;
    QSemaphore goOn;
    QElapsedTimer timer;
    std::thread blocker([&] {
        world.onServer([&](Server &) {
            hanging.release();
            goOn.acquire();
        });
    });
    hanging.acquire();
    timer.start();
    for (int i = 0; i < 50; ++i) {
        world.add(QByteArray(R"({"key":")" + QByteArray::number(i) + "\"}"));
    }
    const qint64 elapsed = timer.elapsed();
    goOn.release();
    blocker.join();
    QVERIFY2(elapsed < 10000, qPrintable(QString("held up for %1 ms").arg(elapsed)));
    QCOMPARE(world.desktop().size(), 51);
}

QTEST_GUILESS_MAIN(FaultsTest)
#include "tst_faults.moc"
