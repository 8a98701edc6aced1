#include "server.h"
#include "world.h"

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

#include <map>

namespace
{

/// What one key should look like from outside.
struct Model {
    bool registered = false;
    bool pending = false; ///< the host asked for its removal
    bool shown = false;
    int version = 0; ///< of the content published last
    bool icon = false;
    bool largeIcon = false;
    QStringList told;

    void add(int newVersion)
    {
        icon = largeIcon = true;
        pending = false;
        if (!registered || newVersion != version) {
            registered = shown = true;
            version = newVersion;
        }
    }
    void hostRemoval() { pending = registered; }
    void connected() { pending = false; }
    void timerExpired()
    {
        if (pending) {
            registered = pending = shown = icon = largeIcon = false;
        }
    }
    void desktopClose(const QString &key)
    {
        if (!shown) {
            return;
        }
        shown = icon = false;
        if (pending) {
            pending = false; // closed, but registered still, with its large icon
            return;
        }
        registered = largeIcon = false;
        told.append("removed " + key);
    }
    void clear(const QString &key)
    {
        icon = largeIcon = false;
        desktopClose(key);
    }
};

} // namespace

/// Random sequences of everything that can happen to a few keys, checked against the model after every step.
/// The seed is printed; KAVREL_SEED repeats a run, KAVREL_STEPS sets its length.
class ModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomSequences();

private:
    void step(World &world, QRandomGenerator &random);
    void letTimersExpire(QRandomGenerator &random);
    void compare(World &world);

    std::map<QString, Model> m_keys;
    QStringList m_history;
    int m_timers = 0; ///< armed
};

void ModelTest::step(World &world, QRandomGenerator &random)
{
    auto chosen = m_keys.begin();
    std::advance(chosen, random.bounded(static_cast<int>(m_keys.size())));
    const QString key = chosen->first;
    Model &model = chosen->second;
    const int what = random.bounded(100);
    if (what < 45) {
        const int version = random.bounded(2);
        m_history.append(QString("add %1 %2").arg(key).arg(version));
        const lumd::Record record = lumd::newRecord(lumd::notificationRecord);
        lumd::setString(record.get(), 0x01, key.toStdString());
        lumd::setString(record.get(), 0x21, std::to_string(version));
        lumd::setBool(record.get(), 0x164, true);
        lumd::setBytes(record.get(), 0x95, "s", 1);
        lumd::setBytes(record.get(), 0xA5, "l", 1);
        world.host->add(record.get());
        model.add(version);
    } else if (what < 70) {
        m_history.append("remove " + key);
        const bool armed = model.registered;
        world.host->remove(key.toUtf8().constData());
        model.hostRemoval();
        if (armed) {
            // Armed right behind the plug-in's own timer, so it fires right behind it.
            ++m_timers;
            QTimer::singleShot(std::chrono::milliseconds(500), Qt::PreciseTimer, this, [this, key] {
                m_history.append("expired " + key);
                m_keys[key].timerExpired();
                --m_timers;
            });
        }
    } else if (what < 95) {
        m_history.append("close " + key);
        for (const DesktopNotification &notification : world.desktop()) {
            if (notification.hints.value("x-vorn-origin-key").toString() == key) {
                world.onServer([&](Server &server) { server.Dismiss(notification.id); });
            }
        }
        model.desktopClose(key);
    } else if (what < 98) {
        m_history.append("connected");
        world.host->connected();
        for (auto &[name, other] : m_keys) {
            other.connected();
        }
    } else {
        m_history.append("clear");
        world.host->clear();
        for (auto &[name, other] : m_keys) {
            other.clear(name);
        }
    }
}

/// Runs the event loop until a random number of the armed timers has fired.
void ModelTest::letTimersExpire(QRandomGenerator &random)
{
    if (m_timers == 0) {
        return;
    }
    const int left = random.bounded(m_timers);
    while (m_timers > left) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

void ModelTest::compare(World &world)
{
    QStringList shown;
    for (const DesktopNotification &notification : world.desktop()) {
        shown.append(notification.hints.value("x-vorn-origin-key").toString() + '=' + notification.summary);
    }
    QStringList expectedShown;
    QStringList expectedFiles;
    QStringList expectedTold;
    for (auto &[key, model] : m_keys) {
        if (model.shown) {
            expectedShown.append(QString("%1=%2").arg(key).arg(model.version));
        }
        if (model.icon) {
            expectedFiles.append(key + ".png");
        }
        if (model.largeIcon) {
            expectedFiles.append(key + "_large.png");
        }
        expectedTold += std::exchange(model.told, {});
    }
    shown.sort();
    expectedFiles.sort();
    QStringList told = std::exchange(world.told, {});
    told.sort();
    QCOMPARE(shown, expectedShown);
    QCOMPARE(world.cacheFiles(), expectedFiles);
    QCOMPARE(told, expectedTold);
}

void ModelTest::randomSequences()
{
    const quint32 seed = qEnvironmentVariableIsSet("KAVREL_SEED") ? qEnvironmentVariable("KAVREL_SEED").toUInt()
                                                                  : QRandomGenerator::global()->generate();
    const int steps = qEnvironmentVariable("KAVREL_STEPS", "6000").toInt();
    QTest::qWarn(qPrintable(QString("KAVREL_SEED=%1").arg(seed)));
    QRandomGenerator random(seed);
    World world;
    for (const char *key : {"a", "b", "c", "d", "e", "f"}) {
        m_keys.emplace(key, Model());
    }
    for (int i = 0; i < steps && !QTest::currentTestFailed(); ++i) {
        if (random.bounded(60) == 0) {
            letTimersExpire(random);
        } else {
            step(world, random);
        }
        compare(world);
    }
    if (QTest::currentTestFailed()) {
        QTest::qWarn(qPrintable("what happened last: " + m_history.mid(m_history.size() - 20).join("; ")));
    }
}

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
